#pragma once

#include "Database.h"
#include "StoredEntry.h"

/**
 * The event list: a bounded log that removes its oldest entries. The caller opens and commits transactions.
 */
class EventStore {
 public:
  /** @param capacity maximum number of entries, 1 or more. A stored list that is larger is cut when the next
   * entry is committed. */
  EventStore(Database& database, qint64 capacity);

  /**
   * Append one entry. The caller calls trim() before it commits.
   * @return the entry's number, larger than the number of every earlier entry, deleted ones included
   */
  qint64 append(const StoredEntry& entry);

  /** Remove the oldest entries beyond the capacity. @return their number */
  quint64 trim();

  /** Delete all entries. @return whether there were any */
  bool clear();

  /**
   * The list as ListJson writes it, the newest entry first.
   * @param language of the descriptions, see DescriptionText
   * @param count maximum number of entries, 0 for all
   */
  QByteArray list(const QString& language, quint32 count);

  qint64 count();
  qint64 capacity() const { return m_capacity; }

 private:
  Database& m_database;
  qint64 m_capacity;
  qint64 m_newest = 0;  ///< number of the last appended entry, 0 before the first one
  Statement m_insert;
  Statement m_drop;
  Statement m_clear;
  Statement m_select;
  Statement m_count;
};
