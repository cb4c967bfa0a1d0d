#pragma once

#include <systemd/sd-bus.h>

#include <QByteArray>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>

namespace Tavroline {

class BusConnection;

/**
 * The handler of one call's reply, or of the signals of one match. Destroying the slot removes the handler,
 * but does not cancel a call that was sent. [hub]
 */
class BusSlot {
 public:
  using Handler = std::function<void(sd_bus_message*)>;

  BusSlot(BusConnection& connection, Handler handler)
      : m_connection(connection), m_handler(std::move(handler)) {}
  ~BusSlot() { sd_bus_slot_unref(m_slot); }
  BusSlot(const BusSlot&) = delete;
  BusSlot& operator=(const BusSlot&) = delete;

 private:
  friend class BusConnection;
  BusConnection& m_connection;
  Handler m_handler;
  sd_bus_slot* m_slot = nullptr;
};

/** Releases the message of a BusCall, a method call that is not sent yet. [hub] */
struct ReleaseMessage {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusCall = std::unique_ptr<sd_bus_message, ReleaseMessage>;

/** A method: its object, interface and name. All are literals. */
struct BusMethod {
  const char* path;
  const char* interface;
  const char* name;
};

/** @throws std::system_error if the result of a function of sd-bus is negative. [hub] */
void checkBus(int result);

/** Whether a reply is an error; with `name`, whether it is that error. [hub] */
bool isError(sd_bus_message* reply, const char* name = nullptr);

/** Name and text of an error reply, reduced to one line of 200 characters, because another program has
 * written them. [hub] */
QByteArray errorText(sd_bus_message* reply);

/**
 * The connection to the system bus. It knows nothing of the list services. Only wait() blocks.
 *
 * process() calls the handlers. If a handler throws, process() rethrows the exception after sd-bus has
 * returned. A handler may destroy its own slot. [hub]
 */
class BusConnection {
 public:
  BusConnection() = default;
  ~BusConnection() { close(); }
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  /** Start to connect; the connection must be closed. @return 0; or a negative errno, and the connection is
   * still closed. */
  int open();

  /** Close; messages that were not written to the bus yet are lost. Handlers of slots that still exist are
   * not called any more. */
  void close();

  bool isOpen() const { return m_bus != nullptr; }

  /** Whether connecting has finished, so that messages can be exchanged. */
  bool isReady() const { return m_bus != nullptr && sd_bus_is_ready(m_bus) > 0; }

  /** Whether messages wait to be written to the bus's socket. */
  bool hasUnwritten() const;

  /**
   * Read and write messages and call the handlers, for at most 256 messages. The connection must be open.
   * @return the number of steps taken, or the negative errno with which the connection broke; the caller must
   * then close it
   * @throws what a handler threw
   */
  int process();

  /**
   * Wait until the bus's socket is ready, the eventfd `wakeFd` (-1: none) is readable or `time` has passed;
   * may return early. Resets `wakeFd`.
   * @param bus whether to wait for the socket
   * @return whether the socket or `wakeFd` ended the wait; an error of either counts too
   */
  bool wait(int wakeFd, bool bus, std::chrono::milliseconds time) const;

  /** Create a method call; `types` and `values` are arguments of sd_bus_message_append(). @throws as call().
   */
  template <typename... Values>
  BusCall write(const char* destination, const BusMethod& method, const char* types, Values... values) const {
    BusCall call = begin(destination, method);
    checkBus(sd_bus_message_append(call.get(), types, values...));
    return call;
  }

  /**
   * Send or queue a call; `handler` gets the reply or the error reply if the slot still exists then.
   * @throws std::system_error when it cannot be sent; the caller must then close the connection, because a
   * later message would overtake this one
   */
  std::unique_ptr<BusSlot> call(const BusCall& message, BusSlot::Handler handler);

  /** Send or queue a call that expects no reply; the bus then does not count it as outstanding. @throws as
   * call(). */
  void send(const BusCall& message);

  /** Call `handler` for each signal that matches `rule`, while the slot exists. If the bus refuses the rule,
   * sd-bus ends the connection. @throws as call(). */
  std::unique_ptr<BusSlot> match(const char* rule, BusSlot::Handler handler);

 private:
  BusCall begin(const char* destination, const BusMethod& method) const;
  static int dispatch(sd_bus_message* message, void* slot, sd_bus_error* error);

  sd_bus* m_bus = nullptr;
  std::exception_ptr m_thrown;
};

}  // namespace Tavroline
