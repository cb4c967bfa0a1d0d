#pragma once

#include <QByteArray>
#include <deque>
#include <list>
#include <memory>
#include <optional>

#include "BusConnection.h"
#include "Outbox.h"

namespace Tavroline {

/**
 * Sends the outbox's messages and requests to the owner of the service's name and settles them when the
 * replies arrive. At most 32 messages and 48 requests wait for a reply at a time.
 *
 * Calls are addressed to the owner's unique name. If the owner disconnects, all messages after the first
 * undelivered one fail too; sending them again therefore keeps the order. If the service cannot store a
 * message, it refuses the following ones as well, and all unsettled ones are sent again after one second.
 * ServiceWatch finds out who the owner is. [hub]
 */
class Courier {
 public:
  Courier(BusConnection& connection, Outbox& outbox) : m_connection(connection), m_outbox(outbox) {}

  /** Unique name of the owner in use, empty before begin() and after interrupt(). */
  const QByteArray& owner() const { return m_owner; }

  /** Use this owner from now on; needs an interrupt() after the last one. send() then also replays the alarms
   * that are on (see RaisedAlarms), because this owner may not know them. */
  void begin(const QByteArray& owner);

  /** The owner or the connection is lost: fail sent requests with `cause`; keep unsent requests and unsettled
   * messages for the next owner. */
  void interrupt(const QString& cause);

  /** Send as many messages and requests as may wait for a reply; in the second after a storage error only
   * requests. Needs an owner. */
  void send(Clock::time_point now);

  /**
   * Drop messages whose reply is overdue (30 s), fail requests whose own deadline has passed, and remove
   * requests that their caller has released.
   * @return false when a reply is overdue. The connection must then be renewed: the bus counts outstanding
   * replies per connection and refuses further calls at its limit
   */
  bool expire(Clock::time_point now);

  /** Send the counters to this owner, without a reply and outside of the outbox. */
  void tell(const QByteArray& owner, const Books& books);

  /** Fail all unsent requests with `cause`. */
  void refuse(const QString& cause);

 private:
  struct SentWrite {
    std::optional<Outbox::Write> write;  ///< empty for a replayed alarm, which the counters (Books) leave out
    std::unique_ptr<BusSlot> call;
    Clock::time_point deadline;
  };
  struct SentRequest {
    std::optional<Outbox::Asked> asked;  ///< empty: the caller has its result, only the reply is missing
    std::unique_ptr<BusSlot> call;
    Clock::time_point deadline;  ///< of the reply; the request's own deadline may be earlier
  };

  void raiseAgain();
  void postpone();
  bool sendNext(Clock::time_point now);
  void sendWrite(const Message& message, std::optional<Outbox::Write> write, Clock::time_point now);
  void sendRequest(Outbox::Asked asked, Clock::time_point now);
  void onWriteReply(std::list<SentWrite>::iterator sent, sd_bus_message* reply);
  void onRequestReply(std::list<SentRequest>::iterator sent, sd_bus_message* reply);
  std::list<SentWrite>::iterator finish(std::list<SentWrite>::iterator sent, std::optional<Loss> loss);
  void release(SentRequest& sent);
  bool isGone(sd_bus_message* reply) const;

  BusConnection& m_connection;
  Outbox& m_outbox;
  QByteArray m_session;
  QByteArray m_owner;
  std::deque<Message> m_raise;
  Clock::time_point m_resume;  ///< no message is sent before this time; requests are
  std::list<SentWrite> m_writes;
  std::list<SentRequest> m_requests;
};

}  // namespace Tavroline
