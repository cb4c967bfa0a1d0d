#pragma once

#include <chrono>

#include "ListJson.h"
#include "StoredEntry.h"

/**
 * The event list: a bounded log that removes its oldest entries. The caller opens and commits transactions.
 */
class EventStore {
 public:
  /** @param capacity maximum number of entries, 1 or more; @param keep maximum age of an entry, 0 for any */
  EventStore(Database& database, qint64 capacity, std::chrono::milliseconds keep);

  /** Number of the newest entry ever appended. The caller stores it with the entries and sets it at the start
   * of each transaction. */
  qint64 newest() const { return m_newest; }
  void setNewest(qint64 newest) { m_newest = newest; }

  /**
   * Append one entry. The caller calls trim() before it commits.
   * @return the entry's number, larger by one than that of the entry before, also if that was deleted
   */
  qint64 append(const StoredEntry& entry);

  /** Whether the oldest entry is beyond the capacity or too old. */
  bool hasExcess();
  /** Remove the oldest entries beyond the capacity, and those before the first one that is not too old.
   * @return their number */
  quint64 trim();

  /** Delete all entries. @return whether there were any */
  bool clear();

  /** The list as ListJson writes it, the newest entry first. @param count maximum number of entries, 0 for
   * all */
  QByteArray list(quint32 count, const QByteArray& language);

  /** At most `count` entries with higher numbers than `after`, the oldest first, in the form of list(). */
  QByteArray page(qint64 after, qint64 count, const QByteArray& language);

  /** Number of the oldest entry; if there is none, of the next one. */
  qint64 oldest();

  qint64 count() { return m_count.value(); }
  /** Number of entries that the last list() or page() left out because they could not be read. */
  qint64 unreadable() const { return m_unreadable; }
  qint64 capacity() const { return m_capacity; }

 private:
  Statement& bindLimits(Statement& statement);
  QByteArray write(Statement& rows, const QByteArray& language);

  Database& m_database;
  qint64 m_capacity;
  std::chrono::milliseconds m_keep;
  qint64 m_newest = 0;
  qint64 m_unreadable = 0;
  Statement m_insert;
  Statement m_excess;
  Statement m_drop;
  Statement m_clear;
  Statement m_select;
  Statement m_page;
  Statement m_oldest;
  Statement m_count;
};
