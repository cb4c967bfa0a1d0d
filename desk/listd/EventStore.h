#pragma once

#include <chrono>

#include "ListJson.h"
#include "StoredEntry.h"

/**
 * The event list: a bounded log that removes its oldest entries. The caller opens and commits transactions.
 */
class EventStore {
 public:
  struct Limits {
    qint64 capacity = 10000;    ///< maximum number of entries, 1 or more
    std::chrono::hours keep{};  ///< maximum age of an entry, 0 for any
    qint64 reply = 10000;       ///< maximum number of entries of a list
  };

  EventStore(Database& database, const Limits& limits);

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
   * as many as the limit allows */
  QByteArray list(quint32 count, const QByteArray& language);

  struct Page {
    QByteArray list;  ///< in the form of list(); each entry also has "Time", ms since 1970-01-01 00:00:00 UTC
    qint64 last;      ///< number of the last entry of the page, also if it cannot be read; 0 if it is empty
  };
  /** At most `count` entries with higher numbers than `after`, the oldest first. */
  Page page(qint64 after, qint64 count, const QByteArray& language);

  /** Number of the oldest entry; if the list is empty, the number that the next entry will get. */
  qint64 oldest();

  qint64 count() { return m_newest + 1 - oldest(); }
  /** Number of entries that the last list() or page() left out because they could not be read. */
  qint64 unreadable() const { return m_unreadable; }
  qint64 capacity() const { return m_limits.capacity; }

 private:
  Statement& bindLimits(Statement& statement);
  Page write(Statement& rows, const std::vector<ListJson::Column>& columns, const QByteArray& language,
             qint64 count, qint64 omitted = 0);

  Database& m_database;
  Limits m_limits;
  qint64 m_newest = 0;
  qint64 m_unreadable = 0;
  Statement m_insert;
  Statement m_excess;
  Statement m_drop;
  Statement m_clear;
  Statement m_select;
  Statement m_page;
  Statement m_oldest;
};
