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
 * Holds the handler that receives the reply to one call, or the signals that one match rule selects. The
 * destructor removes the handler, but does not cancel a call that was sent. [hub]
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

/** Object path, interface and name of a bus method, as string literals. */
struct BusMethod {
  const char* path;
  const char* interface;
  const char* name;
};

/** Whether a reply is an error reply. @param name name of the error; null for any error. [hub] */
bool isError(sd_bus_message* reply, const char* name = nullptr);

/** Return name and text of an error reply in one line of at most 200 characters. Another program has written
 * the text, so the text may be long and have several lines. [hub] */
QByteArray errorText(sd_bus_message* reply);

/**
 * The connection to the system bus. Only wait() blocks.
 *
 * process() calls the handlers of the BusSlots. If a handler throws, process() rethrows the exception after
 * sd-bus has returned. A handler may destroy the BusSlot that holds it. [hub]
 */
class BusConnection {
 public:
  /** Start to connect to the bus. The connection must be closed before. @return 0 on success; a negative
   * errno if the connection stays closed */
  int open();

  /** Close the connection. Messages that are not written to the bus yet are lost. The handlers of the
   * remaining BusSlots are not called any more. */
  void close();

  bool isOpen() const { return m_bus != nullptr; }

  /** Whether connecting has finished, so that messages can be exchanged. */
  bool isReady() const { return isOpen() && sd_bus_is_ready(m_bus.get()) > 0; }

  /** Whether messages wait to be written to the bus's socket. */
  bool hasUnwritten() const;

  /** Whether all calls whose BusSlot still exists are younger than 30 s. If a call is older, the caller must
   * close the connection and connect again: the bus refuses further calls of a connection that waits for too
   * many replies. */
  bool isAnswered(BusSlot::Time now) const;

  /**
   * Read and write messages and call the handlers, in at most 256 steps of sd_bus_process(). The connection
   * must be open.
   * @return number of steps that did something. If the connection broke: a negative errno; the caller must
   * then close the connection
   * @throws the exception that a handler threw
   */
  int process();

  /**
   * Wait until the bus's socket is ready, the eventfd `wakeFd` is readable or `time` has passed. May return
   * early. Resets the eventfd.
   * @param wakeFd -1 to ignore the eventfd
   * @param bus false to ignore the socket
   * @return whether the socket or the eventfd ended the wait; an error on one of them also ends the wait
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
   * @return the slot that holds `handler`. The handler receives the reply or the error reply. The caller must
   * destroy the slot after that
   * @throws std::system_error if the call cannot be sent. The caller must then close the connection, because
   * a later message would overtake this call
   */
  std::unique_ptr<BusSlot> call(const BusMessage& message, BusSlot::Handler handler);

  /** Send or queue a method call to which the receiver does not reply. The bus does not count the call as
   * unanswered. @throws as call() */
  void send(const BusMessage& message);

  /** Ask the bus for the signals that match `rule`. If the bus refuses the rule, sd-bus ends the connection.
   * @return the slot that holds `handler`, which receives these signals. @throws as call() */
  std::unique_ptr<BusSlot> match(const char* rule, BusSlot::Handler handler);

 private:
  friend class BusSlot;
  static int dispatch(sd_bus_message* message, void* slot, sd_bus_error* error);

  std::list<BusSlot::Time> m_deadlines;  ///< for each BusSlot: when its call must be answered
  BusPointer<sd_bus> m_bus;
  /** The last wait() has found that sd-bus has nothing to do. The next process() then returns at once, which
   * saves a system call. */
  bool m_isQuiet = false;
  std::exception_ptr m_thrown;
};

}  // namespace Tavroline
