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
 * The one order in which messages and requests leave, bounded, with the books over it.
 *
 * A message stays here until it is settled, so that it can be sent again after a break; its iterator is valid
 * until then. One leaf mutex guards everything and is never held while anything is sent, logged or released.
 */
class Outbox {
 public:
  static constexpr std::size_t kMessages = 16384;
  static constexpr int kRequests = 32;
  /** A gap is over, and reported, when nothing has been lost for so long. */
  static constexpr std::chrono::milliseconds kGapPause{1000};

  using Write = std::list<Message>::iterator;
  using Asked = std::list<Request>::iterator;
  using Gaps = std::vector<std::pair<Loss, Gap>>;

  /** Take over a message and number it; false when it was refused (and counted). [any-thread] */
  bool accept(Message&& message) noexcept;

  /** Take over a request; false when kRequests are outstanding. Released ones do not count.
   * @throws std::bad_alloc with nothing changed. [any-thread] */
  bool accept(const Request& request);

  /** The books of this moment. [any-thread] */
  Books books() const;

  /** The next to leave, if that is a message (with a number below `before`) or a request respectively; it
   * counts as sent. Each may pass over those of the other kind before it. [hub] */
  std::optional<Write> takeWrite(quint64 before = std::numeric_limits<quint64>::max(), bool passing = false);
  std::optional<Asked> takeRequest(bool passing = false);

  /** A message has been delivered (no loss) or dropped. [hub] */
  void settle(Write write, std::optional<Loss> loss);

  /** A sent request has ended. [hub] */
  void finish(Asked asked);

  /** After a break: messages that were sent and not settled are to be sent again, in their order. [hub] */
  void takeBack();

  /** Remove and return the requests that were not sent: all, or those overdue or released at `now`. [hub] */
  std::list<Request> takeUnsentRequests();
  std::list<Request> takeEndedRequests(Clock::time_point now);

  /** Alarms that are on and whose message has left the queue, in the order of their numbers. [hub] */
  std::vector<Message> raisedAlarms() const;

  /** Unload: drop what has not been sent, all of it or all but the edges that turn an alarm off. [hub] */
  void dropUnsent(bool keepOffEdges);

  /** Gaps that are over at `now`, or all of them. [hub] */
  Gaps takeGaps(Clock::time_point now, bool all);

 private:
  bool place(std::list<Message>& message, std::list<Message>& superseded);
  void lose(const Message& message, Loss cause);
  template <typename Predicate>
  std::list<Request> takeRequestsIf(Predicate predicate);
  Asked firstUnsentRequest();

  mutable std::mutex m_mutex;
  std::list<Message> m_queue;    ///< sent and unsent, by number
  Write m_next = m_queue.end();  ///< the first unsent of m_queue
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
