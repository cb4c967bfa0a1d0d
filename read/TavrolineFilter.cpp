#include "TavrolineFilter.h"

#include <QJsonArray>

#include <algorithm>
#include <utility>

#include "EventlistHandlerDefinitions.h"

namespace {

QDateTime entryTime(const QJsonObject& entry) {
  return QDateTime::fromString(
      entry.value(EventlistHandlerDefinitions::getListColumnNameLocalTime()).toString(), Qt::ISODateWithMs);
}

bool hasOneOf(const QJsonObject& entry, const QStringList& keywords) {
  const QJsonArray carried = entry.value(EventlistHandlerDefinitions::getListColumnNameKeywords()).toArray();
  return std::any_of(carried.begin(), carried.end(),
                     [&](const QJsonValue& keyword) { return keywords.contains(keyword.toString()); });
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
  if (!m_DateTimeUpperBound.isNull() && m_DateTimeUpperBound < entryTime(entry)) {
    return false;
  }
  if (!m_DateTimeLowerBound.isNull() && entryTime(entry) < m_DateTimeLowerBound) {
    return false;
  }
  if (!m_EventTypes.isEmpty()) {
    const int type = entry.value(EventlistHandlerDefinitions::getListColumnNameEventType()).toInt();
    if (!m_EventTypes.contains(static_cast<EventlistHandlerEnums::EventType>(type))) {
      return false;
    }
  }
  if (!m_IncludeKeywords.isEmpty() && !hasOneOf(entry, m_IncludeKeywords)) {
    return false;
  }
  if (!m_ExcludeKeywords.isEmpty() && hasOneOf(entry, m_ExcludeKeywords)) {
    return false;
  }
  return additionalFilterCheck(entry);
}

bool TavrolineFilter::additionalFilterCheck(const QJsonObject& /*entry*/) const {
  return true;
}

QStringList& TavrolineFilter::keywords(FilterType type) {
  return type == FilterTypeInclude ? m_IncludeKeywords : m_ExcludeKeywords;
}
