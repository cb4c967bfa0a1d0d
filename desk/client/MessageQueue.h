#pragma once

#include <atomic>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "AlarmOverflow.h"
#include "MessageCounters.h"
#include "MessageRing.h"
#include "PriorityMutex.h"

namespace Tavroline {

/**
 * The bounded queue of messages from PLC tasks to the hub's thread, with the counters of messages.
 *
 * The queue copies each message into a ring of bytes. The n-th message that enters the ring has the number n.
 * A message stays in the ring until it is confirmed or dropped, so that the hub's thread can read it again. A
 * message is confirmed when the service has answered that it has stored the message.
 *
 * Alarm edges (AlarmEdge) for which the ring has no room go to the overflow (AlarmOverflow). They get their
 * numbers when they move to the ring. While the overflow holds edges, the queue refuses all messages that
 * are not edges, so that the order of hand-over is kept.
 *
 * PLC tasks hold a mutex with priority inheritance while they copy one message. The hub's thread reads, goes
 * back and confirms without the mutex. It holds the mutex for a bounded time to move one edge from the
 * overflow to the ring, to count one loss and to rewind the empty ring.
 */
class MessageQueue {
 public:
  MessageQueue() noexcept {}  // NOLINT(modernize-use-equals-default): `= default` would zero the ring

  /** Add a message that MessageWriter has encoded. @return false if the queue has refused and counted the
   * message, because it had no room or because memory for the overflow could not be allocated. [plc-task] */
  bool accept(std::string_view message) noexcept;

  /** Count a message as refused. [plc-task] */
  void refuse(Loss cause) noexcept;

  /** Number of the last accepted message. If this message is in the overflow, the result is the number that
   * the message gets if no edge in the overflow is superseded before. [plc-task] */
  quint64 handedOver() const noexcept;

  /** A snapshot of the message counters. [any-thread] */
  MessageCounters counters() const noexcept;

  /** Remove and return gaps, see Losses::takeEnded(). [hub] */
  Losses::Gaps takeGaps(Clock::time_point now, bool all) noexcept;

  /** Whether the mutex has priority inheritance. [any-thread] */
  bool inheritsPriority() const noexcept { return m_mutex.inherits(); }

  /** Number of the last message that was confirmed or dropped. [hub] */
  quint64 confirmed() const { return m_confirmed; }

  /** Whether the ring or the overflow holds a message. [hub] */
  bool hasPending() const;

  /** Identifies consecutive messages. */
  struct Batch {
    quint64 first = 0;  ///< number of the first message
    int count = 0;      ///< number of messages
  };

  /**
   * Copy the next messages, at most `maxMessages` and at most one batch (MessageFormat.h). They follow the
   * last message that was copied, confirmed or dropped; see also goBack().
   * @param bytes receives the messages; earlier contents are removed
   * @return the copied messages; Batch::count is 0 if the ring has no further message. [hub]
   */
  Batch read(std::vector<char>& bytes, std::size_t maxMessages);

  /** Let the next read() start at the first message that is neither confirmed nor dropped. [hub] */
  void goBack();

  /** For each message that the service has refused for good: the message's number and the reason code, for
   * example ListServiceNames::kRefusedFull. */
  using Refused = std::vector<std::pair<quint64, quint32>>;

  /** Receives an edge before the queue removes it. @param stored whether the service has stored the edge */
  using OnEdge = std::function<void(const AlarmEdge&, bool stored)>;

  /**
   * Remove the messages up to the number `upTo` and count them as delivered, or as dropped if they are in
   * `refused`. Messages that read() has never returned stay in the queue.
   * @param onEdge called for each edge that was stored, that turns an alarm off, or that was refused because
   * the alarm list is full. If onEdge throws, this edge and all messages after it stay in the queue. [hub]
   */
  void confirm(quint64 upTo, const Refused& refused, const OnEdge& onEdge);

  /** Drop the first message of the ring, which must not be empty. @param onEdge called if the message is an
   * edge that turns an alarm off. If onEdge throws, the message stays in the queue. [hub] */
  void drop(Loss cause, const OnEdge& onEdge);

  /**
   * Drop messages that read() has never returned, as Loss::Unload. Of these messages, keep the edges of each
   * alarm that at least one of these edges turns off. The kept edges move to the ring and get the next
   * numbers, the dropped messages those after them. Drop a kept edge if the ring has no room for it. No other
   * thread may use the queue any more. [hub]
   */
  void keepOffEdges();

  /** Drop the messages of the ring and of the overflow as Loss::Unload. No other thread may use the queue any
   * more. [any-thread] */
  void dropAll() noexcept;

 private:
  std::string_view messageAt(std::size_t position);
  template <typename Visit>
  void visitFresh(std::size_t end, Visit visit);
  bool place(std::string_view message, qint64 handedOverAt);
  void append(std::string_view message, qint64 handedOverAt);
  void moveFromOverflow();
  void dropFirst(Loss cause);
  void removeFirst();
  void rewind();

  mutable PriorityMutex m_mutex;  ///< guards the members from m_overflow to m_losses
  AlarmOverflow m_overflow;
  quint64 m_placed = 0;  ///< number of the last message that entered the ring
  quint64 m_accepted = 0;
  quint64 m_superseded = 0;
  Losses m_losses;
  std::atomic<bool> m_overflows{false};  ///< whether m_overflow has edges; written under m_mutex
  std::atomic<quint64> m_delivered{0};   ///< written by the hub's thread
  // The hub's thread alone uses the members from here to m_copy.
  quint64 m_confirmed = 0;
  quint64 m_sent = 0;        ///< number of the message after which the next read() starts
  std::size_t m_unsent = 0;  ///< position in the ring of the message after m_sent
  quint64 m_given = 0;       ///< number of the last message that read() has ever returned
  std::size_t m_fresh = 0;   ///< position in the ring of the message after m_given
  std::vector<char> m_copy;  ///< the message that messageAt() has copied last

  MessageRing m_ring;
};

}  // namespace Tavroline
