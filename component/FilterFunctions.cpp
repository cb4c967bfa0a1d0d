#include "CodesysTimeConversion.h"
#include "ExternalFunction.h"
#include "TavrolineReadBaseClass.h"
#include "tavroline/filter.h"

namespace {

using Reader = TavrolineReadBaseClass;

EventlistHandlerEnums::EventType eventType(RTS_IEC_INT value) {
  return static_cast<EventlistHandlerEnums::EventType>(value);
}

TavrolineFilter::FilterType filterType(RTS_IEC_INT value) {
  return static_cast<TavrolineFilter::FilterType>(value);
}

}  // namespace

void setlistreadlanguage_ext(setlistreadlanguage_struct* parameters) {
  onReader<Reader>(__func__, parameters,
                   [](Reader& reader, auto& p) { reader.setLanguage(QString::fromUtf8(p.psLanguage)); });
}

void haslistchanged_ext(haslistchanged_struct* parameters) {
  onReader<Reader>(__func__, parameters,
                   [](Reader& reader, auto& p) { p.xListChanged = reader.hasListChanged() ? 1 : 0; });
}

void resetlistchanged_ext(resetlistchanged_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto&) { reader.resetListChanged(); });
}

void addfiltereventtype_ext(addfiltereventtype_struct* parameters) {
  onReader<Reader>(__func__, parameters,
                   [](Reader& reader, auto& p) { reader.addFilterEventType(eventType(p.iEventType)); });
}

void clearfiltereventtype_ext(clearfiltereventtype_struct* parameters) {
  onReader<Reader>(__func__, parameters,
                   [](Reader& reader, auto& p) { reader.clearFilterEventType(eventType(p.iEventType)); });
}

void resetfiltereventtype_ext(resetfiltereventtype_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto&) { reader.resetFilterEventType(); });
}

void addfilterkeyword_ext(addfilterkeyword_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    reader.addFilterKeyword(filterType(p.iFilterType), QString::fromUtf8(p.psKeyword));
  });
}

void clearfilterkeyword_ext(clearfilterkeyword_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    reader.clearFilterKeyword(filterType(p.iFilterType), QString::fromUtf8(p.psKeyword));
  });
}

void resetfilterkeyword_ext(resetfilterkeyword_struct* parameters) {
  onReader<Reader>(__func__, parameters,
                   [](Reader& reader, auto& p) { reader.resetFilterKeyword(filterType(p.iFilterType)); });
}

void setfiltertime_ext(setfiltertime_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    const QDateTime latest = CodesysTimeConversion::IECDateTimeToQDateTime(p.dtLatest);
    const QDateTime earliest = CodesysTimeConversion::IECDateTimeToQDateTime(p.dtEarliest);
    reader.setFilterDateTime(latest, earliest);
  });
}

void resetfiltertime_ext(resetfiltertime_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto&) { reader.resetFilterDateTime(); });
}

void resetfilterall_ext(resetfilterall_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto&) { reader.resetFilterAll(); });
}
