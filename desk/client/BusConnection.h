#pragma once

#include <QByteArray>
#include <chrono>
#include <exception>
#include <functional>
#include <list>
#include <memory>

#include "BusPointer.h"

namespace Tavroline {

class BusConnection;

/**
 * Holds the handler of the reply to one call, or of the signals that one match rule selects. Its destructor
 * removes the handler, but does not cancel a call that was sent. [hub]
 */
class BusSlot {
 public:
  using Handler = std::function<void(sd_bus_message*)>;
  using Time = std::chrono::steady_clock::time_point;

  BusSlot(BusConnection& connection, Handler handler, Time deadline);
  ~BusSlot();

 private:
  friend class BusConnection;
  BusConnection& m_connection;
  Handler m_handler;
  std::list<Time>::iterator m_deadline;  ///< this slot's element of BusConnection::m_deadlines
  BusPointer<sd_bus_slot> m_slot;
};

/** Object path, interface and name of a method; string literals. */
struct BusMethod {
  const char* path;
  const char* interface;
  const char* name;
};

/** Whether a reply is an error reply. @param name the error's name; null for any error. [hub] */
bool isError(sd_bus_message* reply, const char* name = nullptr);

/** Name and text of an error reply, reduced to one line of 200 characters, because another program has
 * written them. [hub] */
QByteArray errorText(sd_bus_message* reply);

/**
 * The connection to the system bus. It knows nothing of the list services. Only wait() blocks.
 *
 * process() calls the handlers of the BusSlots. If a handler throws, process() rethrows the exception after
 * sd-bus has returned. A handler may destroy the BusSlot that holds it. [hub]
 */
class BusConnection {
 public:
  /** Start to connect; the connection must be closed. @return 0; or a negative errno if the
   * connection stays closed */
  int open();

  /** Close the connection. Messages that are not written to the bus yet are lost. The handlers of the
   * remaining BusSlots are not called any more. */
  void close();

  bool isOpen() const { return m_bus != nullptr; }

  /** Whether connecting has finished, so that messages can be exchanged. */
  bool isReady() const { return isOpen() && sd_bus_is_ready(m_bus.get()) > 0; }

  /** Whether messages wait to be written to the bus's socket. */
  bool hasUnwritten() const;

  /** False if the BusSlot of a call has existed for 30 s. The connection must then be renewed, because the
   * bus refuses further calls of a connection that waits for too many replies. */
  bool isAnswered(BusSlot::Time now) const;

  /**
   * Read and write messages and call the handlers, in at most 256 steps. The connection must be open.
   * @return the number of steps taken, or the negative errno with which the connection broke; the caller must
   * then close it
   * @throws what a handler threw
   */
  int process();

  /**
   * Wait until the bus's socket is ready, the eventfd `wakeFd` is readable or `time` has passed. May return
   * early. Resets the eventfd.
   * @param wakeFd -1 to wait for no eventfd
   * @param bus whether to wait for the socket
   * @return whether the socket or the eventfd ended the wait; an error on one of them ends it too
   */
  bool wait(int wakeFd, bool bus, std::chrono::milliseconds time);

  /** Create a method call. @param types, values arguments of sd_bus_message_append(). @throws as call() */
  template <typename... Values>
  BusMessage write(const char* destination, const BusMethod& method, const char* types,
                   Values... values) const {
    sd_bus_message* message = nullptr;
    checkBus(sd_bus_message_new_method_call(m_bus.get(), &message, destination, method.path, method.interface,
                                            method.name));
    BusMessage call(message);
    checkBus(sd_bus_message_append(message, types, values...));
    return call;
  }

  /**
   * Send or queue a method call.
   * @return the slot of `handler`, which receives the reply or the error reply; to be destroyed after that
   * @throws std::system_error when the call cannot be sent. The caller must then close the connection,
   * because a later message would overtake this one
   */
  std::unique_ptr<BusSlot> call(const BusMessage& message, BusSlot::Handler handler);

  /** Send or queue a method call without a reply. The bus then does not count it as outstanding. @throws as
   * call() */
  void send(const BusMessage& message);

  /** Ask the bus for the signals that match `rule`. If the bus refuses the rule, sd-bus ends the connection.
   * @return the slot of `handler`, which receives these signals. @throws as call() */
  std::unique_ptr<BusSlot> match(const char* rule, BusSlot::Handler handler);

 private:
  friend class BusSlot;
  static int dispatch(sd_bus_message* message, void* slot, sd_bus_error* error);

  std::list<BusSlot::Time> m_deadlines;  ///< for each BusSlot, when its call must be answered
  BusPointer<sd_bus> m_bus;
  /** The last wait() ended without a reason for the next process(), which saves that a system call. */
  bool m_isQuiet = false;
  std::exception_ptr m_thrown;
};

}  // namespace Tavroline
