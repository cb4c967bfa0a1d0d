#pragma once

#include <array>
#include <limits>
#include <list>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "AlarmRoom.h"
#include "Books.h"
#include "Message.h"
#include "RaisedAlarms.h"

namespace Tavroline {

/**
 * The bounded queue of messages and requests, and the counters of messages.
 *
 * Messages and requests are sent in the order of their hand-over, unless the caller of takeWrite() or
 * takeRequest() lets one kind overtake the other. A sent message stays here until settle(), so that it can be
 * sent again on the next connection; its iterator is valid until then. One mutex guards all members. It is
 * not held while something is sent or logged, nor while removed messages and requests are freed; only the
 * copies in RaisedAlarms are freed under it.
 */
class Outbox {
 public:
  /** Maximum number of messages in the queue; when it is full, alarm edges go to the overflow, AlarmRoom. */
  static constexpr std::size_t kMessages = 16384;
  /** Maximum number of outstanding requests; released ones do not count. */
  static constexpr int kRequests = 32;
  /** A gap ends when no message has been lost for its cause for this time. */
  static constexpr std::chrono::milliseconds kGapPause{1000};

  using Write = std::list<Message>::iterator;
  using Asked = std::list<Request>::iterator;
  using Gaps = std::vector<std::pair<Loss, Gap>>;

  /** Number a message and add it. @return false when it was refused and counted as such: the queue (for an
   * alarm edge also the overflow) is full, or memory allocation failed. [any-thread] */
  bool accept(Message&& message) noexcept;

  /** Add a request. @return false when kRequests are outstanding already. @throws std::bad_alloc with nothing
   * changed. [any-thread] */
  bool accept(const Request& request);

  /** A snapshot of the message counters. [any-thread] */
  Books books() const;

  /**
   * The next message or the next request to send; it is then marked as sent. Empty if there is none, or if
   * one of the other kind was handed over earlier, is unsent, and `passing` is false. [hub]
   * @param before only a message with a lower sequence number is returned
   * @param passing lets this kind overtake the other
   */
  std::optional<Write> takeWrite(quint64 before = std::numeric_limits<quint64>::max(), bool passing = false);
  std::optional<Asked> takeRequest(bool passing = false);

  /** Remove a sent message and count it. @param loss why it was dropped; empty if it was delivered. [hub] */
  void settle(Write write, std::optional<Loss> loss);

  /** Remove a sent request. [hub] */
  void finish(Asked asked);

  /** Mark all sent messages as unsent again, so that they are sent again in their order. [hub] */
  void takeBack();

  /** Remove and return unsent requests: all of them, or those that are overdue or released. [hub] */
  std::list<Request> takeUnsentRequests();
  std::list<Request> takeEndedRequests(Clock::time_point now);

  /** Copies of the messages to replay to a new owner, see RaisedAlarms::settled(). [hub] */
  std::vector<Message> raisedAlarms() const;

  /** Drop unsent messages and count them as Loss::Unload: all of them, or all but the edges that turn an
   * alarm off. [hub] */
  void dropUnsent(bool keepOffEdges);

  /** Remove and return the gaps that have ended, or all of them, with their causes. [hub] */
  Gaps takeGaps(Clock::time_point now, bool all);

 private:
  bool place(std::list<Message>& message, std::list<Message>& superseded);
  void lose(const Message& message, Loss cause);
  template <typename Predicate>
  std::list<Request> takeRequestsIf(Predicate predicate);
  Asked firstUnsentRequest();

  mutable std::mutex m_mutex;
  std::list<Message> m_queue;    ///< sent and unsent messages, ordered by sequence number
  Write m_next = m_queue.end();  ///< the first unsent message of m_queue
  AlarmRoom m_room;
  RaisedAlarms m_raised;
  std::list<Request> m_requests;
  quint64 m_lastSequence = 0;
  quint64 m_accepted = 0;
  quint64 m_delivered = 0;
  quint64 m_superseded = 0;
  std::array<quint64, kLossCauses> m_lost{};
  std::array<Gap, kLossCauses> m_gaps{};
};

}  // namespace Tavroline
