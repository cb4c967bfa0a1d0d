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

/** Holds the component's outstanding requests for lists and for states of alarms. A PLC task writes a request
 * into one of 32 slots. The hub's thread sends the request and stores the reply in the slot. */
class Requests {
 public:
  /** Maximum number of open requests. A request is open until the hub's thread has ended it, even if the PLC
   * task has released its slot. */
  static constexpr std::size_t kSlots = 32;

  /**
   * Make a request.
   * @param text the language of a list, or the identifier of the alarm
   * @param count for an event list only: number of newest entries wanted; 0 means all entries
   * @param behind number of the last message handed over before this request
   * @return the reply; null if memory allocation failed. The request fails at once if no slot can be claimed
   * or `text` is longer than 255 bytes, and later if the reply does not arrive within 10 s. [plc-task]
   */
  DBusPendingReply::SharedPointer accept(RequestKind kind, const QString& text, quint32 count,
                                         quint64 behind) noexcept;

  /** Whether a request waits to be sent. [hub] */
  bool hasUnsent() const;

  /**
   * Send waiting requests. A request waits while 32 calls have no reply yet, and until all messages that were
   * handed over before the request are confirmed or dropped.
   * @param owner unique bus name of the receiver
   * @param overtake whether to send requests without waiting for messages
   * @return whether a request was sent
   * @throws as BusConnection::call(). [hub]
   */
  bool send(BusConnection& connection, const QByteArray& owner, const MessageQueue& queue, bool overtake);

  /** End the requests whose deadline has passed and the requests whose slot a PLC task has released.
   * [hub] */
  void expire(Clock::time_point now);

  /** Fail all requests that were sent, because the owner or the connection is lost. [hub] */
  void failSent(const char* cause);

  /** Fail all requests that were not sent. [hub] */
  void failUnsent(const char* cause);

 private:
  struct Call {
    RequestSlot* slot;  ///< null if the request has ended before the reply
    std::unique_ptr<BusSlot> call;
  };

  std::pair<RequestSlot*, RequestSlot::Ticket> claim() noexcept;
  void onReply(std::list<Call>::iterator call, sd_bus_message* reply);

  std::array<RequestSlot, kSlots> m_slots;
  std::list<Call> m_calls;
};

}  // namespace Tavroline
