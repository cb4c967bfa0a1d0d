#pragma once

#include <QByteArray>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>

#include "DBusPendingReply.h"
#include "Losses.h"

namespace Tavroline {

enum class RequestKind { EventList, AlarmList, AlarmState };

/** One request for a list or for the state of an alarm. A PLC task fills it in for the hub's thread. */
struct Request {
  RequestKind kind = RequestKind::EventList;
  quint32 count = 0;             ///< for an event list: number of newest entries wanted; 0 means all
  quint64 behind = 0;            ///< number of the last message handed over before this request
  Clock::time_point deadline;    ///< the request fails after this time
  std::array<char, 256> text{};  ///< language of the list or identifier of the alarm: UTF-8, ends with 0
  bool sent = false;             ///< whether the hub's thread has sent the request
};

/**
 * Reusable memory for one request and its result, which is a reply or the cause of a failure.
 *
 * A PLC task owns the slot from claim() to publish(). Then the hub's thread owns the slot until it ends the
 * request with arrive() or fail(). Then the task takes the result. If the task does not take the result,
 * another request may claim the slot, so that results that no task takes do not block requests. If the task
 * releases the slot before the request has ended, the hub's thread still has to end the request.
 *
 * The hub's thread allocates a reply, and PLC tasks free it: in take(), in release() or in the next claim().
 */
class RequestSlot {
 public:
  /** Identifies one of the requests that use the slot one after the other; never 0. */
  using Ticket = std::uint64_t;
  using Cause = std::array<char, 256>;  ///< why a request failed: UTF-8, ends with 0

  /** State of the slot. take() returns one of the first three, which have the values of
   * DBusPendingReply::isFinished(). */
  enum State : unsigned { Arrived = 0, Failed = 1, Outstanding = 2, Free, Claimed, Released };

  /** Claim the slot if it is free.
   * @param unread claim the slot also if it holds a result that no task has taken
   * @return the ticket of the new request; 0 if the slot was not claimed. [plc-task] */
  Ticket claim(bool unread) noexcept;

  /** Hand the request of the claimed slot over to the hub's thread. [plc-task] */
  void publish(Ticket ticket) noexcept {
    m_state.store(word(ticket, Outstanding), std::memory_order_release);
  }

  /** Take the result if the request has ended. The ticket is then invalid.
   * @return Outstanding if the request has not ended; Arrived if `reply` was set; Failed if `cause` was set.
   * [plc-task] */
  State take(Ticket ticket, QByteArray& reply, Cause& cause) noexcept;

  /** Give up the claimed or published slot. The ticket is then invalid. [plc-task] */
  void release(Ticket ticket) noexcept;

  /** The request. A PLC task may use it between claim() and publish(), the hub's thread while isOpen(). */
  Request request;

  /** Whether the hub's thread has to end the request. [hub] */
  bool isOpen() const;

  /** Whether the task has released the slot of an open request. [hub] */
  bool isReleased() const { return state() == Released; }

  /** End the open request with a reply, or with the cause of a failure. The slot keeps 255 bytes of the
   * cause. [hub] */
  void arrive(QByteArray&& reply) noexcept;
  void fail(const char* cause) noexcept;

 private:
  /** Return a value for m_state: the upper bits hold the ticket of the last request, the lowest three bits
   * hold the slot's state. */
  static constexpr std::uint64_t word(Ticket ticket, State state) { return ticket * 8 + state; }
  State state() const { return static_cast<State>(m_state.load(std::memory_order_acquire) % 8); }
  bool replace(std::uint64_t& expected, Ticket ticket, State state) noexcept;
  void end(State state) noexcept;

  std::atomic<std::uint64_t> m_state{word(0, Free)};
  QByteArray m_reply;
  Cause m_cause{};
};

}  // namespace Tavroline

/** The data of a DBusPendingReply: the slot of an outstanding request, or the result of a request that has
 * ended. The hub's thread does not use this class. */
class DBusPendingReply::Private {
 public:
  using Slot = Tavroline::RequestSlot;

  /** Construct the result of a failed request. @param why the cause of the failure; at most 255 bytes are
   * kept. [any-thread]
   */
  explicit Private(std::string_view why) { why.copy(cause.data(), cause.size() - 1); }
  ~Private();
  Private(const Private&) = delete;
  Private& operator=(const Private&) = delete;

  /** Take the result out of the slot if the request has ended. [any-thread] */
  void update() noexcept;

  /** Move `state` into a DBusPendingReply. @throws std::bad_alloc. [any-thread] */
  static SharedPointer share(std::unique_ptr<Private> state);

  /** Return a reply that reports a failed request; null if memory allocation failed. [any-thread] */
  static SharedPointer failed(const char* cause) noexcept;

  Slot* slot = nullptr;  ///< the slot, which ~Private() releases; null if the request has ended
  Slot::Ticket ticket = 0;
  Slot::State status = Slot::Failed;  ///< the slot's state when update() last read it
  QByteArray reply;                   ///< the reply, if `status` is Slot::Arrived
  Slot::Cause cause{};                ///< the cause, if `status` is Slot::Failed
};
