#include "ListEntry.h"

#include <QCborArray>
#include <QJsonValue>

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
  bool included = m_copy.includeKeywords.isEmpty();
  if (included && m_copy.excludeKeywords.isEmpty()) return true;
  const QCborArray carried = value(ListColumns::Keywords).toArray();
  const int size = static_cast<int>(carried.size());
  for (int i = 0; i < size; ++i) {
    QCborValue keyword = carried.at(i);
    if (!keyword.isString()) {
      keyword = QCborValue(QString());  // what is no text counts as an empty one
    }
    if (m_copy.excludeKeywords.contains(keyword)) return false;
    included = included || m_copy.includeKeywords.contains(keyword);
    if (included && m_copy.excludeKeywords.isEmpty()) break;
  }
  return included;
}
