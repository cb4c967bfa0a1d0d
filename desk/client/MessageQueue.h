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
 * The bounded queue of messages from PLC tasks to the hub's thread, and the counters of messages.
 *
 * The queue copies encoded messages into a ring of bytes. The n-th message that enters the ring has the
 * number n. A message stays in the ring until it is confirmed or dropped, so that it can be read again.
 * Confirmed means: the service has answered that it has stored the message.
 *
 * An edge is a message that turns an alarm on or off. Edges that do not fit into the ring go to the overflow
 * (AlarmOverflow). They get their numbers when they move to the ring. While the overflow holds edges, the
 * queue refuses all other messages, so that the order of hand-over is kept.
 *
 * PLC tasks hold a mutex with priority inheritance while they copy one message. The hub's thread reads, goes
 * back and confirms without the mutex. It takes the mutex for a bounded time to move an edge out of the
 * overflow, to count a loss, and to rewind the empty ring.
 */
class MessageQueue {
 public:
  MessageQueue() noexcept {}  // NOLINT(modernize-use-equals-default): `= default` would zero the ring
  MessageQueue(const MessageQueue&) = delete;
  MessageQueue& operator=(const MessageQueue&) = delete;

  /** Add a message that MessageWriter has encoded. @return false if the queue has refused and counted it,
   * because there was no room or because memory allocation for the overflow failed. [plc-task] */
  bool accept(std::string_view message) noexcept;

  /** Count a message that could not be encoded. [plc-task] */
  void refuse(Loss cause) noexcept;

  /** Number of the last accepted message. If that is in the overflow: the number that it will have if no edge
   * there is superseded. [plc-task] */
  quint64 handedOver() const noexcept;

  /** A snapshot of the message counters. [any-thread] */
  MessageCounters counters() const noexcept;

  /** Remove and return gaps, see Losses::takeEnded(). [hub] */
  Losses::Gaps takeGaps(Clock::time_point now, bool all) noexcept;

  /** Whether the mutex has priority inheritance. [any-thread] */
  bool inheritsPriority() const noexcept { return m_mutex.inherits(); }

  /** Number of the last message that was confirmed or dropped. [hub] */
  quint64 confirmed() const { return m_confirmed; }

  /** Number of the last message that read() has returned since goBack(); at least confirmed(). [hub] */
  quint64 sent() const { return m_sent; }

  /** Whether the ring or the overflow holds a message. [hub] */
  bool hasPending() const;

  struct Batch {
    quint64 first = 0;  ///< number of the first message
    int count = 0;
  };

  /**
   * Read the messages after sent(), within the bounds of a batch (MessageFormat.h).
   * @param bytes the messages are appended to it
   * @return the messages that were read; count is 0 if there were none. [hub]
   */
  Batch read(std::vector<char>& bytes, std::size_t maxMessages);

  /** Let read() start again at the message after confirmed(). [hub] */
  void goBack();

  using Refused = std::vector<std::pair<quint64, quint32>>;  ///< number, reason of ListServiceNames
  using OnEdge = std::function<void(const AlarmEdge&, bool stored)>;

  /**
   * Remove and count the messages up to the number `upTo`, but none that read() has never returned.
   * @param refused messages that the service has refused for good; they count as dropped
   * @param onEdge called for each edge that was stored, turns an alarm off, or was refused because the alarm
   * list is full. If onEdge throws, the edge and all messages after it are not removed. [hub]
   */
  void confirm(quint64 upTo, const Refused& refused, const OnEdge& onEdge);

  /** Drop the first message of the ring; there must be one. @param onEdge called if the message is an edge
   * that turns an alarm off; if onEdge throws, the message is not dropped. [hub] */
  void drop(Loss cause, const OnEdge& onEdge);

  /** Of the messages that read() has never returned, keep the edges of each alarm that one of them turns off.
   * Drop the others as Loss::Unload. The kept edges get new consecutive numbers. No other thread may use the
   * queue any more. [hub]
   */
  void keepOffEdges();

  /** Drop all messages, those of the overflow included, as Loss::Unload. No other thread may use the queue
   * any more. [any-thread] */
  void dropAll() noexcept;

 private:
  std::string_view messageAt(std::size_t position);
  bool place(std::string_view message, qint64 handedOverAt);
  void append(std::string_view message, qint64 handedOverAt);
  void moveFromOverflow();
  void dropFirst(Loss cause);
  void removeFirst();
  void rewind();

  mutable PriorityMutex m_mutex;  ///< guards the overflow and what is marked (m)
  AlarmOverflow m_overflow;
  std::atomic<bool> m_overflows{false};  ///< whether m_overflow has edges; written under m_mutex
  quint64 m_placed = 0;                  ///< (m) number of the last message that entered the ring
  quint64 m_accepted = 0;                ///< (m)
  quint64 m_superseded = 0;              ///< (m)
  Losses m_losses;                       ///< (m)
  std::atomic<quint64> m_delivered{0};   ///< written by the hub's thread
  // Used by the hub's thread alone.
  quint64 m_confirmed = 0;
  quint64 m_sent = 0;
  std::size_t m_unsent = 0;  ///< position of the message after m_sent
  quint64 m_given = 0;       ///< number of the last message that read() has ever returned
  std::size_t m_fresh = 0;   ///< position of the message after m_given
  std::vector<char> m_copy;  ///< see messageAt()

  MessageRing m_ring;
};

}  // namespace Tavroline
