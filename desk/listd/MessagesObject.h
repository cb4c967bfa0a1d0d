#pragma once

#include <deque>
#include <functional>
#include <map>

#include "BusCall.h"
#include "ClientCounters.h"
#include "SessionExpiry.h"

/**
 * The writers' object on the bus, as org.tavroline.ListService1.xml describes it. It decides whose session a
 * call may use; what a call does to the lists is in ListService.
 *
 * At the first call of a connection the bus is asked for its unix user. Until it answers, the calls of this
 * connection wait, in their order.
 */
class MessagesObject {
 public:
  static constexpr int kMaxSession = 255;     ///< bytes of a session
  static constexpr int kMaxReported = 16384;  ///< alarms in one report
  /** Bounds of the waiting calls of one connection; calls beyond them get kErrorNotNow. */
  static constexpr std::size_t kMaxWaiting = 256;
  static constexpr int kMaxWaitingBytes = 16 << 20;

  /**
   * Put the object on the bus.
   * @param bus, service, expiry, counters must outlive this object
   * @throws std::runtime_error when sd-bus refuses
   */
  MessagesObject(sd_bus* bus, ListService& service, SessionExpiry& expiry, ClientCounters& counters);

  /** Forget a connection that has ended, after its waiting calls. */
  void end(const QByteArray& name) noexcept;

  static const sd_bus_vtable kMethods[];

 private:
  struct Connection;
  using Work = std::function<void(Connection& connection)>;  ///< answers a call whose arguments are read
  struct Call {
    BusMessage message;
    Work work;
  };
  struct Connection {
    MessagesObject* object = nullptr;
    QByteArray name;
    Tavroline::BusPointer<sd_bus_slot> query;  ///< while the bus has not answered
    bool identified = false;
    bool ended = false;
    quint32 user = SessionStore::kUnknownUser;
    QByteArray session;
    QByteArray program;
    std::deque<Call> waiting;
    int waitingSize = 0;  ///< bytes, roughly

    /** Who sends, in a call that names a session. */
    Sender sender(const QByteArray& named) const;
  };

  using Method = void (MessagesObject::*)(sd_bus_message* call);
  template <Method method>
  static int onCall(sd_bus_message* call, void* object, sd_bus_error* error);
  static int onUser(sd_bus_message* reply, void* asked, sd_bus_error* error) noexcept;

  void resume(sd_bus_message* call);
  void reportAlarms(sd_bus_message* call);
  void raiseAlarms(sd_bus_message* call);
  void send(sd_bus_message* call);
  void reportCounters(sd_bus_message* call);

  void receive(sd_bus_message* call, int size, Work work);
  void useSession(Connection& connection, const QByteArray& session);

  sd_bus* m_bus;
  ListService& m_service;
  SessionExpiry& m_expiry;
  ClientCounters& m_counters;
  std::map<QByteArray, Connection> m_connections;
};
