#pragma once

#include <QByteArray>
#include <QString>

#include <deque>
#include <map>
#include <utility>
#include <vector>

/** Who sent a message, and its place among the messages of that sender. */
struct Sender {
  QString session;
  qint64 sequence = 0;
  /** Unique bus name of the sender. On a new connection a sender starts with its oldest unconfirmed message.
   */
  QByteArray connection;
};

/**
 * Keeps the order of a sender's messages when one of them could not be stored.
 *
 * If a later message were stored, the failed one would count as a repetition when it is sent again. So after
 * a failure all messages on that connection are refused until their sender starts again with its oldest
 * unconfirmed one. Numbers rise on a connection, so a number that is not higher than the last one marks that
 * start. It need not be the number of the failed message, which the sender may have dropped.
 *
 * It knows nothing of lists and storage. It is kept in memory only: after a restart of the service every
 * sender has a new connection.
 */
class FailedMessages {
 public:
  /** Maximum number of connections with a failed message, and of rejected messages. Beyond it another
   * connection or the oldest rejected message is forgotten: most of them belong to senders that no longer
   * exist. */
  static constexpr std::size_t kConnections = 64;
  static constexpr std::size_t kRejected = 1000;

  /** Check a received message. @return false if an earlier one on its connection has failed and the sender
   * has not started again. */
  bool admit(const Sender& sender);

  /** Whether this message was rejected before and is not forgotten yet. */
  bool isRejected(const Sender& sender) const;

  /** Reject the message that admit() was called with last: isRejected() recognises it from now on, until
   * kRejected later messages were rejected. */
  void reject(const Sender& sender);

  /** Record that all messages admitted since the last succeed() or fail() were stored, or that they failed.
   */
  void succeed() noexcept { m_admitted.clear(); }
  void fail() noexcept;

 private:
  std::vector<std::pair<QByteArray, qint64>> m_admitted;  ///< connection and number
  std::map<QByteArray, qint64> m_failed;                  ///< last received number by connection
  std::deque<std::pair<QString, qint64>> m_rejected;      ///< session and number
};
