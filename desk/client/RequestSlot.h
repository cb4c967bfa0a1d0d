#pragma once

#include <QByteArray>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

#include "DBusPendingReply.h"
#include "Losses.h"

namespace Tavroline {

/** What a request asks for. */
enum class RequestKind { EventList, AlarmList, AlarmState };

/** One request, as a PLC task writes it for the hub's thread. */
struct Request {
  RequestKind kind = RequestKind::EventList;
  quint32 count = 0;             ///< of an event list: number of newest entries wanted, 0 for all
  quint64 behind = 0;            ///< number of the last message handed over before this request
  Clock::time_point deadline;    ///< the request fails after this time
  std::array<char, 256> text{};  ///< language or identifier: UTF-8, terminated
  bool sent = false;             ///< used by the hub's thread alone
};

/**
 * A slot: reusable memory for one request and its reply.
 *
 * The caller, any thread of the component, owns the slot from claim() to publish(). The hub's thread then
 * owns it until it ends the request. After that the caller takes the result. If the caller does not, another
 * request may claim the slot, so that unread replies do not block requests. If the caller releases the slot
 * before the request has ended, the hub's thread still ends the request, and the next claim() frees the
 * reply.
 */
class RequestSlot {
 public:
  /** Identifies one of the slot's successive requests; never 0. */
  using Ticket = std::uint64_t;
  using Cause = std::array<char, 256>;  ///< terminated

  /** State of the slot. take() returns one of the first three, with the values of
   * DBusPendingReply::isFinished(). */
  enum State : unsigned { Arrived = 0, Failed = 1, Outstanding = 2, Free, Claimed, Released, Abandoned };

  /** Claim the slot if it is unused; with `unread`, also if nobody has taken the result of its ended request.
   * @return the ticket of the new request; 0 if the slot was not claimed. [plc-task] */
  Ticket claim(bool unread) noexcept;

  /** Hand the request over to the hub's thread. [plc-task] */
  void publish(Ticket ticket) noexcept {
    m_state.store(word(ticket, Outstanding), std::memory_order_release);
  }

  /** Take the result if the request has ended; the ticket is then invalid.
   * @return Outstanding if the request has not ended; otherwise `reply` (Arrived) or `cause` (Failed) is set.
   * [plc-task] */
  State take(Ticket ticket, QByteArray& reply, Cause& cause) noexcept;

  /** The caller does not need the result any more. [plc-task] */
  void release(Ticket ticket) noexcept;

  /** The request. The hub's thread may use it while isOpen(), a PLC task between claim() and publish(). */
  Request request;

  /** Whether the hub's thread has to end the request, and whether its caller has released it. [hub] */
  bool isOpen() const;
  bool isReleased() const { return state() == Released; }

  /** End the request, which must be open, with a reply or with a cause of which 255 bytes are kept. [hub] */
  void arrive(QByteArray&& reply) noexcept;
  void fail(const char* cause) noexcept;

 private:
  static constexpr std::uint64_t word(Ticket ticket, State state) { return ticket * 8 + state; }
  State state() const { return static_cast<State>(m_state.load(std::memory_order_acquire) % 8); }
  /** Set ticket and state if the slot's present word is `expected`. @return false if it is not; `expected`
   * then receives the present word
   */
  bool replace(std::uint64_t& expected, Ticket ticket, State state) noexcept {
    return m_state.compare_exchange_strong(expected, word(ticket, state), std::memory_order_acq_rel);
  }

  void end(State state) noexcept;

  std::atomic<std::uint64_t> m_state{word(0, Free)};
  QByteArray m_reply;
  Cause m_cause{};
};

}  // namespace Tavroline
