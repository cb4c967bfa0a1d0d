#pragma once

#include <memory>
#include <string_view>

#include "DBusPendingReply.h"
#include "RequestSlot.h"

/** The caller's side of one request: its slot (RequestSlot), and later its result. Only threads of the
 * component use it. */
class DBusPendingReply::Private {
 public:
  using Slot = Tavroline::RequestSlot;

  /** @param cause why the request has failed, unless use() follows; at most 255 bytes */
  explicit Private(std::string_view cause) { cause.copy(m_cause.data(), m_cause.size() - 1); }
  ~Private();
  Private(const Private&) = delete;
  Private& operator=(const Private&) = delete;

  /** @param slot claimed by the caller, released by this object. [any-thread] */
  void use(Slot& slot, Slot::Ticket ticket) {
    m_slot = &slot;
    m_ticket = ticket;
  }

  /** Result of DBusPendingReply::isFinished(). If the request has ended, takes its result out of the slot.
   * [any-thread] */
  int status();

  /** The reply if status() is 0, else empty; the cause if it is 1. [any-thread] */
  const QByteArray& reply() const { return m_reply; }
  const char* cause() const { return m_cause.data(); }

  /** A reply for the caller that owns `state`. @throws std::bad_alloc; the slot is then released.
   * [any-thread] */
  static SharedPointer share(std::unique_ptr<Private> state);

  /** A reply that has failed already; null if memory allocation failed. @param cause a literal. [any-thread]
   */
  static SharedPointer failed(const char* cause) noexcept;

 private:
  Slot* m_slot = nullptr;  ///< null without a slot and after the result was taken
  Slot::Ticket m_ticket = 0;
  Slot::State m_status = Slot::Failed;
  QByteArray m_reply;
  Slot::Cause m_cause{};
};
