#include "CodesysTimeConversion.h"
#include "ExternalFunction.h"
#include "TavrolineReadBaseClass.h"
#include "tavroline/filter.h"

namespace Tavroline {
namespace {

using Reader = TavrolineReadBaseClass;
constexpr char kFile[] = "FilterFunctions";

EventlistHandlerEnums::EventType eventType(RTS_IEC_INT value) {
  return static_cast<EventlistHandlerEnums::EventType>(value);
}

TavrolineFilter::FilterType filterType(RTS_IEC_INT value) {
  return static_cast<TavrolineFilter::FilterType>(value);
}

/** UTF-8 as it is, whatever the device's text helpers assume; a null pointer gives an empty text. */
QString textOf(const RTS_IEC_STRING* text) {
  // fromUtf8() drops one byte order mark in front: this one, not one of the text.
  return QString::fromUtf8(QByteArrayLiteral("\xEF\xBB\xBF") + text);
}

}  // namespace
}  // namespace Tavroline

using namespace Tavroline;

void setlistreadlanguage_ext(setlistreadlanguage_struct* parameters) {
  onReader<Reader>(ORIGIN(setlistreadlanguage), parameters,
                   [&](Reader& reader) { reader.setLanguage(textOf(parameters->psLanguage)); });
}

void haslistchanged_ext(haslistchanged_struct* parameters) {
  onReader<Reader>(ORIGIN(haslistchanged), parameters,
                   [&](Reader& reader) { parameters->xListChanged = reader.hasListChanged() ? 1 : 0; });
}

void resetlistchanged_ext(resetlistchanged_struct* parameters) {
  onReader<Reader>(ORIGIN(resetlistchanged), parameters, &Reader::resetListChanged);
}

void addfiltereventtype_ext(addfiltereventtype_struct* parameters) {
  onReader<Reader>(ORIGIN(addfiltereventtype), parameters,
                   [&](Reader& reader) { reader.addFilterEventType(eventType(parameters->iEventType)); });
}

void clearfiltereventtype_ext(clearfiltereventtype_struct* parameters) {
  onReader<Reader>(ORIGIN(clearfiltereventtype), parameters,
                   [&](Reader& reader) { reader.clearFilterEventType(eventType(parameters->iEventType)); });
}

void resetfiltereventtype_ext(resetfiltereventtype_struct* parameters) {
  onReader<Reader>(ORIGIN(resetfiltereventtype), parameters, &Reader::resetFilterEventType);
}

void addfilterkeyword_ext(addfilterkeyword_struct* parameters) {
  onReader<Reader>(ORIGIN(addfilterkeyword), parameters, [&](Reader& reader) {
    reader.addFilterKeyword(filterType(parameters->iFilterType), textOf(parameters->psKeyword));
  });
}

void clearfilterkeyword_ext(clearfilterkeyword_struct* parameters) {
  onReader<Reader>(ORIGIN(clearfilterkeyword), parameters, [&](Reader& reader) {
    reader.clearFilterKeyword(filterType(parameters->iFilterType), textOf(parameters->psKeyword));
  });
}

void resetfilterkeyword_ext(resetfilterkeyword_struct* parameters) {
  onReader<Reader>(ORIGIN(resetfilterkeyword), parameters,
                   [&](Reader& reader) { reader.resetFilterKeyword(filterType(parameters->iFilterType)); });
}

void setfiltertime_ext(setfiltertime_struct* parameters) {
  onReader<Reader>(ORIGIN(setfiltertime), parameters, [&](Reader& reader) {
    const QDateTime latest = CodesysTimeConversion::IECDateTimeToQDateTime(parameters->dtLatest);
    const QDateTime earliest = CodesysTimeConversion::IECDateTimeToQDateTime(parameters->dtEarliest);
    reader.setFilterDateTime(latest, earliest);
  });
}

void resetfiltertime_ext(resetfiltertime_struct* parameters) {
  onReader<Reader>(ORIGIN(resetfiltertime), parameters, &Reader::resetFilterDateTime);
}

void resetfilterall_ext(resetfilterall_struct* parameters) {
  onReader<Reader>(ORIGIN(resetfilterall), parameters, &Reader::resetFilterAll);
}
