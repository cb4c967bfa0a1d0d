#pragma once

#include <QCborMap>
#include <QCborValue>
#include <QJsonObject>
#include <QString>
#include <QVector>

#include <optional>

#include "EntryTimes.h"
#include "ListColumns.h"

/** What one copy of a list starts with and remembers from entry to entry. */
struct ListCopy {
  EntryTimes times;
  QVector<QCborValue> includeKeywords;  ///< an empty one as undefined: what is no text counts as it too
  QVector<QCborValue> excludeKeywords;
  ListColumns columns;
};

/**
 * One entry of a loaded list while it is tested and copied. What both the filter and the copy need is looked
 * up at the first question and remembered. Members are read strictly: one of another type than expected
 * counts as missing.
 */
class ListEntry {
 public:
  /** @param copy outlives the entry. [plc-task] */
  ListEntry(const QJsonObject& entry, ListCopy& copy)
      : m_members(QCborMap::fromJsonObject(entry)), m_copy(copy) {}

  /** Undefined when there is no such member. [plc-task] */
  QCborValue value(ListColumns::Column column) { return m_copy.columns.value(m_members, column); }

  /** Empty unless it is a text. [plc-task] */
  QString text(ListColumns::Column column) { return value(column).toString(); }

  /** False unless it is a boolean. [plc-task] */
  bool flag(ListColumns::Column column) { return value(column).toBool(); }

  /** 0 unless it is an integral number of 32 bits. [plc-task] */
  int eventType();

  /** The local time. [plc-task] */
  const EntryTimes::Time& time();

  /** Whether the local time lies within the bounds of the copy. [plc-task] */
  bool isWithinBounds() { return m_copy.times.isWithinBounds(time()); }

  /** Whether the entry has one of the copy's include keywords, if there are any, and no exclude keyword.
   * [plc-task]
   */
  bool passesKeywords();

 private:
  QCborMap m_members;
  ListCopy& m_copy;
  std::optional<int> m_eventType;
  std::optional<EntryTimes::Time> m_time;
};
