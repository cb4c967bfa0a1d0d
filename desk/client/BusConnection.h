#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>

namespace Tavroline {

class BusConnection;

/** An outstanding call or an installed match. Destroying the slot cancels it. [hub] */
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
 * The connection to the system bus. It knows nothing of the list services. Only wait() waits; a broken
 * connection is reported as a result, not as an exception.
 *
 * process() calls the handlers. An exception of a handler does not pass through sd-bus: process() catches it
 * there and throws it to its own caller. A handler may destroy its own slot. [hub]
 */
class BusConnection {
 public:
  BusConnection() = default;
  ~BusConnection() { close(); }
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  /** Start connecting. @return 0 or a negative errno. */
  int open();

  /** Close without flushing. Handlers of slots that still exist are not called any more. */
  void close();

  bool isOpen() const { return m_bus != nullptr; }

  /** Whether the connection is set up, so that messages can be exchanged. */
  bool isReady() const { return m_bus != nullptr && sd_bus_is_ready(m_bus) > 0; }

  /** The sd-bus object, null while closed. */
  sd_bus* get() const { return m_bus; }

  /** Handle received messages, a bounded number of them. @return 0, or the negative errno that ended the
   * connection. */
  int process();

  /** Wait until a message can be processed, `wakeFd` (-1: none) is readable or `time` has passed. */
  void wait(int wakeFd, std::chrono::milliseconds time) const;

  /**
   * Send a call; `handler` gets the reply or the error reply.
   * @throws std::system_error when it cannot be sent; the caller must then close the connection, because a
   * later message would overtake this one
   */
  std::unique_ptr<BusSlot> call(sd_bus_message* message, BusSlot::Handler handler);

  /** Send a message that has no reply. @throws as call(). */
  void send(sd_bus_message* message);

  /** Install a match for signals. If the bus refuses it, sd-bus ends the connection. @throws as call(). */
  std::unique_ptr<BusSlot> match(const char* rule, BusSlot::Handler handler);

 private:
  static int dispatch(sd_bus_message* message, void* slot, sd_bus_error* error);

  sd_bus* m_bus = nullptr;
  std::exception_ptr m_thrown;
};

}  // namespace Tavroline
