#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>

namespace Tavroline {

class BusConnection;

/** A call that is outstanding or a match that is installed; ends with this object. [hub] */
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
 * The connection to the system bus, without any knowledge of services. Nothing here waits for the bus but
 * wait(); a bus that breaks is an ordinary result.
 *
 * Handlers run within process(). They may throw: no exception passes through sd-bus, process() throws it
 * again. A slot may be destroyed in its own handler. [hub]
 */
class BusConnection {
 public:
  BusConnection() = default;
  ~BusConnection() { close(); }
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  /** Begin to connect. @return 0 or a negative errno. */
  int open();

  /** Let go at once; slots that still exist will not be called any more. */
  void close();

  bool isOpen() const { return m_bus != nullptr; }

  /** Connected and greeted, so that messages can be exchanged. */
  bool isReady() const { return m_bus != nullptr && sd_bus_is_ready(m_bus) > 0; }

  /** The library's object, null while closed. */
  sd_bus* get() const { return m_bus; }

  /** Handle what has arrived, up to a bound. @return 0 or the negative errno that ended the connection. */
  int process();

  /** Wait until something can be processed, `wakeFd` (-1: none) is readable or the time is over. */
  void wait(int wakeFd, std::chrono::milliseconds time) const;

  /**
   * Send a call; its handler gets the reply, an error included.
   * @throws std::system_error when it cannot be sent: what follows would overtake it
   */
  std::unique_ptr<BusSlot> call(sd_bus_message* message, BusSlot::Handler handler);

  /** Send what nobody answers. @throws as call(). */
  void send(sd_bus_message* message);

  /** Install a match; a bus that refuses it ends the connection. @throws as call(). */
  std::unique_ptr<BusSlot> match(const char* rule, BusSlot::Handler handler);

 private:
  static int dispatch(sd_bus_message* message, void* slot, sd_bus_error* error);

  sd_bus* m_bus = nullptr;
  std::exception_ptr m_thrown;
};

}  // namespace Tavroline
