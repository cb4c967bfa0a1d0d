#include "TavrolineFilter.h"

#include <QCborArray>

#include <algorithm>
#include <iterator>
#include <utility>

using namespace Tavroline;

namespace {

/** An empty keyword is stored as undefined and also matches list members that are not strings. */
QVector<QCborValue> cborKeywords(const QStringList& keywords) {
  QVector<QCborValue> list;
  std::transform(keywords.begin(), keywords.end(), std::back_inserter(list), [](const QString& keyword) {
    return keyword.isEmpty() ? QCborValue() : QCborValue(keyword);
  });
  return list;
}

bool hasOneOf(const QCborArray& carried, const QVector<QCborValue>& keywords) {
  return std::any_of(keywords.begin(), keywords.end(), [&carried](const QCborValue& keyword) {
    if (keyword.isString()) {
      return carried.contains(keyword);
    }
    return std::any_of(carried.begin(), carried.end(),
                       [](const QCborValue& any) { return any.toString().isEmpty(); });
  });
}

/** Compares whole integers: the device's enumeration may be narrower than the entry's number. */
bool hasType(const QList<EventlistHandlerEnums::EventType>& types, int eventType) {
  return std::any_of(types.begin(), types.end(), [eventType](EventlistHandlerEnums::EventType type) {
    return static_cast<int>(type) == eventType;
  });
}

}  // namespace

TavrolineFilter::~TavrolineFilter() = default;

void TavrolineFilter::addFilterEventType(EventlistHandlerEnums::EventType type) {
  if (!m_EventTypes.contains(type)) {
    m_EventTypes.append(type);
  }
}

void TavrolineFilter::clearFilterEventType(EventlistHandlerEnums::EventType type) {
  m_EventTypes.removeAll(type);
}

void TavrolineFilter::resetFilterEventType() {
  m_EventTypes.clear();
}

void TavrolineFilter::addFilterKeyword(FilterType type, const QString& keyword) {
  QStringList& list = keywords(type);
  if (!list.contains(keyword)) {
    list.append(keyword);
  }
}

void TavrolineFilter::clearFilterKeyword(FilterType type, const QString& keyword) {
  keywords(type).removeAll(keyword);
}

void TavrolineFilter::resetFilterKeyword(FilterType type) {
  keywords(type).clear();
}

void TavrolineFilter::setFilterDateTime(QDateTime upperBound, QDateTime lowerBound) {
  m_DateTimeUpperBound = std::move(upperBound);
  m_DateTimeLowerBound = std::move(lowerBound);
}

void TavrolineFilter::resetFilterDateTime() {
  setFilterDateTime(QDateTime(), QDateTime());
}

void TavrolineFilter::resetFilterAll() {
  resetFilterEventType();
  resetFilterKeyword(FilterTypeInclude);
  resetFilterKeyword(FilterTypeExclude);
  resetFilterDateTime();
}

bool TavrolineFilter::checkListEntry(const QJsonObject& entry) const {
  CopyPass pass = startCopy();
  ListEntry only(entry, pass.columns, pass.times);
  return passesCriteria(only, pass) && additionalFilterCheck(entry);
}

bool TavrolineFilter::passesCriteria(ListEntry& entry, const CopyPass& pass) const {
  if (pass.upperBound.isSet() && pass.upperBound.isEarlierThan(entry.time())) {
    return false;
  }
  if (pass.lowerBound.isSet() && pass.lowerBound.isLaterThan(entry.time())) {
    return false;
  }
  if (!m_EventTypes.isEmpty() && !hasType(m_EventTypes, entry.eventType())) {
    return false;
  }
  if (m_IncludeKeywords.isEmpty() && m_ExcludeKeywords.isEmpty()) {
    return true;
  }
  const QCborArray carried = entry.keywords();
  if (!m_IncludeKeywords.isEmpty() && !hasOneOf(carried, pass.includeKeywords)) {
    return false;
  }
  return !hasOneOf(carried, pass.excludeKeywords);
}

CopyPass TavrolineFilter::startCopy() const {
  const TimeBound upperBound(m_DateTimeUpperBound);
  const TimeBound lowerBound(m_DateTimeLowerBound);
  return {upperBound,
          lowerBound,
          cborKeywords(m_IncludeKeywords),
          cborKeywords(m_ExcludeKeywords),
          EntryTimes(upperBound.isInstant() && lowerBound.isInstant()),
          ListColumns()};
}

bool TavrolineFilter::additionalFilterCheck(const QJsonObject& /*entry*/) const {
  return true;
}

QStringList& TavrolineFilter::keywords(FilterType type) {
  return type == FilterTypeInclude ? m_IncludeKeywords : m_ExcludeKeywords;
}
