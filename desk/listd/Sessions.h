#pragma once

#include "Database.h"

/**
 * The highest sequence number of each session, so that a message that is sent twice is applied once.
 *
 * It keeps the kKept sessions that had a message applied last. A removed session counts as a new one.
 */
class Sessions {
 public:
  static constexpr int kKept = 1000;

  explicit Sessions(Database& database);

  /** Whether this message, or a later one of its session, was recorded before. */
  bool seen(const QString& session, qint64 sequence);

  /** Record a message of the session that seen() was called with last, in the transaction that applies it. */
  void record(qint64 sequence);

  /** Write the recorded numbers and remove the sessions beyond kKept. The caller then commits. */
  void write();

  /** Discard the recorded numbers, after a rollback. */
  void forget() noexcept;

  qint64 count();

 private:
  void flush();

  // The session of the last seen(). Messages of one session usually follow each other; the table is then
  // written once for all of them.
  QString m_session;
  qint64 m_sequence = 0;
  bool m_recorded = false;
  Statement m_select;
  Statement m_upsert;
  Statement m_prune;
  Statement m_count;
};
