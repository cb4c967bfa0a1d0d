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

  /** Record a message that is carried out, in the transaction that carries it out. */
  void record(const QString& session, qint64 sequence);

  /** Forget the sessions beyond the bound; once per transaction is enough. */
  void prune();

  qint64 count();

 private:
  Statement m_select;
  Statement m_upsert;
  Statement m_prune;
  Statement m_count;
};
