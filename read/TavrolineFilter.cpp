#include "TavrolineFilter.h"

#include <algorithm>
#include <iterator>
#include <utility>

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
  ListCopy copy = listCopy();
  ListEntry only(entry, copy);
  return passesCriteria(only) && additionalFilterCheck(entry);
}

bool TavrolineFilter::passesCriteria(ListEntry& entry) const {
  // The cheapest test first: from outside only the result can be seen.
  if (!m_EventTypes.isEmpty() &&
      !m_EventTypes.contains(static_cast<EventlistHandlerEnums::EventType>(entry.eventType()))) {
    return false;
  }
  if ((!m_DateTimeUpperBound.isNull() || !m_DateTimeLowerBound.isNull()) && !entry.isWithinBounds()) {
    return false;
  }
  return entry.passesKeywords();
}

ListCopy TavrolineFilter::listCopy() const {
  const auto values = [](const QStringList& keywords) {
    QVector<QCborValue> list;
    std::transform(keywords.begin(), keywords.end(), std::back_inserter(list), [](const QString& keyword) {
      return keyword.isEmpty() ? QCborValue() : QCborValue(keyword);
    });
    return list;
  };
  return {EntryTimes(m_DateTimeUpperBound, m_DateTimeLowerBound), values(m_IncludeKeywords),
          values(m_ExcludeKeywords), ListColumns()};
}

bool TavrolineFilter::additionalFilterCheck(const QJsonObject& /*entry*/) const {
  return true;
}

QStringList& TavrolineFilter::keywords(FilterType type) {
  return type == FilterTypeInclude ? m_IncludeKeywords : m_ExcludeKeywords;
}
