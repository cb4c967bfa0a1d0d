#pragma once

#include <QString>
#include <array>
#include <list>
#include <memory>
#include <utility>

#include "BusConnection.h"
#include "MessageQueue.h"
#include "RequestSlot.h"

namespace Tavroline {

/**
 * The component's outstanding requests for lists and for states of alarms.
 *
 * A PLC task fills one of 32 slots; the hub's thread sends the request and stores the reply. The hub's thread
 * frees no memory that a task has allocated. A task frees the text of a reply, which the hub's thread has
 * allocated: one block for each reply.
 */
class Requests {
 public:
  /** Maximum number of requests that the hub's thread has not ended yet, released ones included. */
  static constexpr std::size_t kSlots = 32;

  /**
   * Make a request.
   * @param text the language of a list, or the identifier of the alarm
   * @param count of an event list only: number of newest entries wanted, 0 for all
   * @param behind number of the last message handed over before this request
   * @return the reply. It has failed already if no slot can be claimed or `text` is too long. It fails later
   * if it does not arrive within 10 s. Null if memory allocation failed. [plc-task]
   */
  DBusPendingReply::SharedPointer accept(RequestKind kind, const QString& text, quint32 count,
                                         quint64 behind) noexcept;

  /** Whether an unsent request waits. [hub] */
  bool hasUnsent() const;

  /**
   * Send the unsent requests to `owner`, a unique bus name. A request is not sent while 32 calls wait for a
   * reply, nor before all messages handed over before it are confirmed or dropped.
   * @param overtake whether to send requests without waiting for those messages
   * @return whether a request was sent
   * @throws as BusConnection::call(). [hub]
   */
  bool send(BusConnection& connection, const QByteArray& owner, const MessageQueue& queue, bool overtake);

  /**
   * Fail requests whose deadline has passed and end those that their caller has released.
   * @return false if a call has no reply after 30 s: the connection must be renewed, because the bus counts
   * outstanding replies per connection and refuses further calls at its limit. [hub]
   */
  bool expire(Clock::time_point now);

  /** The owner or the connection is lost: fail all requests that were sent. [hub] */
  void failSent(const char* cause);

  /** Fail all requests that were not sent. [hub] */
  void failUnsent(const char* cause);

 private:
  struct Call {
    RequestSlot* slot;  ///< null when the request has ended and only the reply is missing
    std::unique_ptr<BusSlot> call;
    Clock::time_point deadline;
  };

  std::pair<RequestSlot*, RequestSlot::Ticket> claim() noexcept;
  void onReply(std::list<Call>::iterator call, sd_bus_message* reply);

  std::array<RequestSlot, kSlots> m_slots;
  std::list<Call> m_calls;
};

}  // namespace Tavroline
