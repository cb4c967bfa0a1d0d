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
 * replies arrive. The number of calls that wait for a reply is bounded by a window.
 *
 * Calls are addressed to the owner's unique name. If the owner disconnects, all messages after the first
 * undelivered one fail too; sending them again therefore keeps the order. If the service cannot store a
 * message, it refuses the following ones as well, and all of them are sent again after a pause. ServiceWatch
 * finds out who the owner is. [hub]
 */
class Courier {
 public:
  Courier(BusConnection& connection, Outbox& outbox) : m_connection(connection), m_outbox(outbox) {}

  /** Unique name of the owner, empty while there is none. */
  const QByteArray& owner() const { return m_owner; }

  /** Use this owner from now on. First send it the alarms that are on, because it may not know them. */
  void begin(const QByteArray& owner);

  /** The owner or the connection is lost: fail sent requests, keep unsettled messages for the next owner. */
  void interrupt(const QString& cause);

  /** Send as many messages and requests as the windows allow. Needs an owner. */
  void send(Clock::time_point now);

  /**
   * Settle messages and requests whose deadline has passed, and requests that their caller has released.
   * @return false when a reply is overdue and the connection must be renewed: the bus counts outstanding
   * replies per connection and refuses further calls at its limit
   */
  bool expire(Clock::time_point now);

  /** Send the counters to this owner. The call itself is not counted. */
  void tell(const QByteArray& owner, const Books& books);

  /** Fail all unsent requests. */
  void refuse(const QString& cause);

 private:
  struct SentWrite {
    std::optional<Outbox::Write> write;  ///< empty: an alarm that is sent again and not counted
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
  Clock::time_point m_resume;  ///< no messages are sent before this time
  std::list<SentWrite> m_writes;
  std::list<SentRequest> m_requests;
};

}  // namespace Tavroline
