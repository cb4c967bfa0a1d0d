#pragma once

#include <QByteArray>
#include <QString>

#include <deque>
#include <map>
#include <utility>
#include <vector>

/** Who sends a message, and its place among the messages of that sender. */
struct Sender {
  QString session;
  qint64 sequence = 0;
  QByteArray
      connection;  ///< the road it came by; a sender that takes another one starts with its oldest message
};

/**
 * The messages that were not carried out, so that none of them passes for one that was when it comes again: a
 * message that is sent after one that failed would make that one a repetition, and has to wait for it.
 *
 * A sender that hears of a failure begins anew with its oldest message, on the same connection: numbers rise
 * until then, so that one that does not is the beginning. It need not be the one that failed, which its
 * sender may have no use for any more.
 *
 * It knows nothing of lists and storage. Kept in memory: senders take another connection to another life of
 * the service.
 */
class FailedMessages {
 public:
  /** Connections with a failed message, and rejected messages, at most; most belong to senders that have
   * gone. */
  static constexpr std::size_t kConnections = 64;
  static constexpr std::size_t kRejected = 1000;

  /** A message has come. @return false when one before it has failed and its sender has not begun anew.
   * [any-thread] */
  bool admit(const Sender& sender);

  /** Whether this message was rejected before. [any-thread] */
  bool isRejected(const Sender& sender) const;

  /** The message admitted last is rejected for good. [any-thread] */
  void reject(const Sender& sender);

  /** The messages admitted since the last of these two calls have been carried out, or have failed.
   * [any-thread] */
  void succeed() noexcept { m_admitted.clear(); }
  void fail() noexcept;

 private:
  std::vector<std::pair<QByteArray, qint64>> m_admitted;  ///< connection and number
  std::map<QByteArray, qint64> m_failed;                  ///< by connection the last number that came
  std::deque<std::pair<QString, qint64>> m_rejected;
};
