#pragma once

#include <utility>
#include <vector>

#include "Database.h"

/** What became of a session's messages. */
struct Stored {
  quint64 upTo = 0;  ///< number of the last message that was stored or refused
  /** Number and reason of the refused messages that the sender has not acknowledged, in their order. */
  std::vector<std::pair<quint64, quint32>> refused;
};

/**
 * The number of the last message of each session, so that a message that is sent twice is applied once, and
 * the messages refused for good.
 *
 * It keeps the kKept sessions that stored messages last. A removed session counts as a new one.
 */
class SessionStore {
 public:
  static constexpr qint64 kKept = 1000;
  static constexpr quint32 kUnknownUser = UINT32_MAX;

  struct Session {
    bool known = false;
    quint64 upTo = 0;
    quint32 user = kUnknownUser;
  };

  explicit SessionStore(Database& database);

  Session find(const QByteArray& session);
  void write(const QByteArray& session, quint64 upTo, quint32 user);

  void refuse(const QByteArray& session, quint64 number, quint32 reason);
  void forgetRefused(const QByteArray& session, quint64 upTo);
  std::vector<std::pair<quint64, quint32>> refused(const QByteArray& session, quint64 after);

  qint64 count() { return m_count.value(); }

 private:
  Statement m_select;
  Statement m_upsert;
  Statement m_prune;
  Statement m_count;
  Statement m_refuse;
  Statement m_forgetRefused;
  Statement m_selectRefused;
};
