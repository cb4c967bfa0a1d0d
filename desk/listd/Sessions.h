#pragma once

#include "Database.h"

/**
 * The highest sequence number seen of each session, so that a message that is sent again is stored once.
 *
 * The kKept sessions that were heard last are kept; a session that is forgotten starts anew.
 */
class Sessions {
 public:
  static constexpr int kKept = 1000;

  explicit Sessions(Database& database);

  /** Whether this message, or a later one of its session, was recorded before. */
  bool seen(const QString& session, qint64 sequence);

  /** Record a message that is carried out, after seen(), in the transaction that carries it out. */
  void record(qint64 sequence);

  /** Write what was recorded, and drop the sessions beyond the bound, before that transaction is committed.
   */
  void write();

  /** That transaction was undone. */
  void forget() noexcept;

  qint64 count();

 private:
  void flush();

  // The session that was asked for last: messages mostly come in a row, and one row in the table will do for
  // them.
  QString m_session;
  qint64 m_sequence = 0;
  bool m_recorded = false;
  Statement m_select;
  Statement m_upsert;
  Statement m_prune;
  Statement m_count;
};
