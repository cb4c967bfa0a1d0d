#include "ListEntry.h"

#include <QCborArray>
#include <QJsonValue>

#include <algorithm>

int ListEntry::eventType() {
  if (!m_eventType) {
    const QCborValue type = value(ListColumns::EventType);
    m_eventType = type.isInteger() && type.toInteger() == static_cast<int>(type.toInteger())
                      ? static_cast<int>(type.toInteger())
                      : type.toJsonValue().toInt();
  }
  return *m_eventType;
}

const EntryTimes::Time& ListEntry::time() {
  if (!m_time) {
    m_time = m_copy.times.read(text(ListColumns::LocalTime));
  }
  return *m_time;
}

bool ListEntry::passesKeywords() {
  const QVector<QCborValue>& include = m_copy.includeKeywords;
  const QVector<QCborValue>& exclude = m_copy.excludeKeywords;
  if (include.isEmpty() && exclude.isEmpty()) {
    return true;
  }
  const QCborArray carried = value(ListColumns::Keywords).toArray();
  const auto isCarried = [&carried](const QCborValue& keyword) {
    if (keyword.isString()) {
      return carried.contains(keyword);
    }
    return std::any_of(carried.begin(), carried.end(),
                       [](const QCborValue& any) { return any.toString().isEmpty(); });
  };
  return (include.isEmpty() || std::any_of(include.begin(), include.end(), isCarried)) &&
         std::none_of(exclude.begin(), exclude.end(), isCarried);
}
