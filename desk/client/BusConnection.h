#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>

namespace Tavroline {

class BusConnection;

/**
 * The handler of one call's reply, or of the signals of one match. Destroying the slot removes the handler; a
 * call that was sent is not taken back. [hub]
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

/**
 * The connection to the system bus. It knows nothing of the list services. Only wait() waits.
 *
 * process() calls the handlers. An exception of a handler does not pass through sd-bus, but reaches the
 * caller of process(). A handler may destroy its own slot. [hub]
 */
class BusConnection {
 public:
  BusConnection() = default;
  ~BusConnection() { close(); }
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  /** Start to connect; must be closed. @return 0, or a negative errno: it is then still closed. */
  int open();

  /** Close; messages that were not written to the bus yet are lost. Handlers of slots that still exist are
   * not called any more. */
  void close();

  bool isOpen() const { return m_bus != nullptr; }

  /** Whether connecting has finished, so that messages can be exchanged. */
  bool isReady() const { return m_bus != nullptr && sd_bus_is_ready(m_bus) > 0; }

  /** The sd-bus object, null while closed. */
  sd_bus* get() const { return m_bus; }

  /**
   * Read and write messages and call the handlers, for at most 256 messages. The connection must be open.
   * @return 0, or the negative errno with which the connection broke; the caller must then close it
   * @throws what a handler threw
   */
  int process();

  /** Wait until the bus's socket is ready, `wakeFd` (-1: none) is readable or `time` has passed; it may
   * return early. */
  void wait(int wakeFd, std::chrono::milliseconds time) const;

  /**
   * Send or queue a call; `handler` gets the reply or the error reply if the slot still exists then.
   * @throws std::system_error when it cannot be sent; the caller must then close the connection, because a
   * later message would overtake this one
   */
  std::unique_ptr<BusSlot> call(sd_bus_message* message, BusSlot::Handler handler);

  /** Send or queue a message that expects no reply. @throws as call(). */
  void send(sd_bus_message* message);

  /** Call `handler` for each signal that matches `rule`, while the slot exists. If the bus refuses the rule,
   * sd-bus ends the connection. @throws as call(). */
  std::unique_ptr<BusSlot> match(const char* rule, BusSlot::Handler handler);

 private:
  static int dispatch(sd_bus_message* message, void* slot, sd_bus_error* error);

  sd_bus* m_bus = nullptr;
  std::exception_ptr m_thrown;
};

}  // namespace Tavroline
