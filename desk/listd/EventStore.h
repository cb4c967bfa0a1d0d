#pragma once

#include "Database.h"
#include "StoredEntry.h"

/**
 * The event list: a bounded log whose oldest entries make room for new ones. Transactions are the caller's.
 */
class EventStore {
 public:
  /** @param capacity entries kept, 1 or more; a smaller one than before takes effect with the next entry */
  EventStore(Database& database, qint64 capacity);

  /**
   * Append one entry; trim() is to follow before the transaction ends.
   * @return the entry's number, larger than all before it, those of deleted entries included
   */
  qint64 append(const StoredEntry& entry);

  /** Let the oldest entries go that are too many now. @return their number */
  quint64 trim();

  /** Delete all entries. @return whether there were any */
  bool clear();

  /**
   * The newest entries first, as JSON.
   * @param language of the descriptions, see DescriptionText
   * @param count entries wanted at most, 0 for all
   */
  QByteArray list(const QString& language, quint32 count);

  qint64 count();
  qint64 capacity() const { return m_capacity; }

 private:
  Database& m_database;
  qint64 m_capacity;
  qint64 m_newest = 0;  ///< number of the entry appended last
  Statement m_insert;
  Statement m_drop;
  Statement m_clear;
  Statement m_select;
  Statement m_count;
};
