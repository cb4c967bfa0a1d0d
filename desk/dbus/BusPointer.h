#pragma once

#include <systemd/sd-bus.h>

#include <memory>
#include <system_error>

namespace Tavroline {

/** Releases an object of sd-bus. A connection is closed; messages that it has not written yet are lost. */
struct ReleaseBusObject {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

/** Owns one reference to a connection, a message or a slot of sd-bus. */
template <class Object>
using BusPointer = std::unique_ptr<Object, ReleaseBusObject>;
using BusMessage = BusPointer<sd_bus_message>;

/** Checks the result of a function of sd-bus. @return it. @throws std::system_error if it is negative */
inline int checkBus(int result, const char* failure = "the bus failed") {
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), failure);
  }
  return result;
}

}  // namespace Tavroline
