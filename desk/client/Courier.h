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
 * Carries the outbox's messages and requests to one owner of the service's name, a window at a time, and
 * settles them by the answers.
 *
 * Calls go to the owner's unique name: when it goes away, everything behind the first undelivered message
 * fails as well, so that sending again keeps the order. The service does the same behind a message that it
 * could not store, which is sent again after a pause. Who the owner is decides the service watch. [hub]
 */
class Courier {
 public:
  Courier(BusConnection& connection, Outbox& outbox) : m_connection(connection), m_outbox(outbox) {}

  /** Empty while there is nobody to send to. */
  const QByteArray& owner() const { return m_owner; }

  /** Send to this owner from now on, first the alarms that are on and that it may not know. */
  void begin(const QByteArray& owner);

  /** The owner or the connection has gone: sent requests fail, unsettled messages wait for the next owner. */
  void interrupt(const QString& cause);

  /** Send what the windows allow; only with an owner. */
  void send(Clock::time_point now);

  /**
   * End what has passed its deadline or was released by its caller.
   * @return false when an answer has been owed for so long that the connection has to be renewed: a bus
   * counts owed answers, refuses calls beyond its bound, and forgets them only with the connection
   */
  bool expire(Clock::time_point now);

  /** Tell this owner the books; what becomes of it is in no books. */
  void tell(const QByteArray& owner, const Books& books);

  /** Fail all requests that wait to be sent. */
  void refuse(const QString& cause);

 private:
  struct SentWrite {
    std::optional<Outbox::Write> write;  ///< none: an alarm raised again, which is in no books
    std::unique_ptr<BusSlot> call;
    Clock::time_point deadline;
  };
  struct SentRequest {
    std::optional<Outbox::Asked> asked;  ///< none: its caller has gone, only the answer is still owed
    std::unique_ptr<BusSlot> call;
    Clock::time_point deadline;  ///< of the answer; the caller's own may be earlier
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
  Clock::time_point m_resume;  ///< until then no messages are sent
  std::list<SentWrite> m_writes;
  std::list<SentRequest> m_requests;
};

}  // namespace Tavroline
