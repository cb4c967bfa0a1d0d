#pragma once

#include <QByteArray>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "ListClient.h"

/** Blocking calls on the bus; errors become ClientError or a class derived from it. */
namespace BusCalls {

using Tavroline::BusMessage;
using Bus = Tavroline::BusPointer<sd_bus>;

/** Throws what a negative `result` means. @param error reply to the call, unset if there was none */
[[noreturn]] inline void raise(int result, const sd_bus_error& error = {}) {
  const auto is = [&error](const char* name) { return sd_bus_error_has_name(&error, name) > 0; };
  if (result == -ECONNRESET || result == -ENOTCONN || result == -EPIPE) {
    throw NoBus("the connection to the bus is lost");
  }
  if (is(SD_BUS_ERROR_SERVICE_UNKNOWN) || is(SD_BUS_ERROR_NAME_HAS_NO_OWNER) || is(SD_BUS_ERROR_NO_REPLY)) {
    throw NoService("no list service runs on this bus; start tavroline-listd");
  }
  if (is(SD_BUS_ERROR_ACCESS_DENIED)) {
    throw Forbidden(
        "the bus forbids this call to this user: join the group that its policy allows; with the packages "
        "that"
        " is tavroline-readers, and to change the lists tavroline");
  }
  if (result == -ETIMEDOUT) {
    throw ClientError("the service did not answer in time");
  }
  const std::string cause = error.message != nullptr ? error.message : std::strerror(-result);
  if (is(SD_BUS_ERROR_UNKNOWN_OBJECT) || is(SD_BUS_ERROR_UNKNOWN_INTERFACE) ||
      is(SD_BUS_ERROR_UNKNOWN_METHOD)) {
    throw NotOffered("use programs of the same version: " + cause);
  }
  throw ClientError((error.name == nullptr ? "the bus failed: " : "the service refused: ") + cause);
}

inline void check(int result) {
  if (result < 0) {
    raise(result);
  }
}

/** A call with these arguments of the basic `types`. */
template <class... Values>
BusMessage newCall(const Bus& bus, const BusInterface& interface, const char* method, const char* types = "",
                   Values... values) {
  sd_bus_message* request = nullptr;
  check(sd_bus_message_new_method_call(bus.get(), &request, interface.service, interface.path, interface.name,
                                       method));
  BusMessage owned(request);
  check(sd_bus_message_append(request, types, values...));
  return owned;
}

inline BusMessage replyTo(const BusMessage& request) {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  const std::unique_ptr<sd_bus_error, decltype(&sd_bus_error_free)> owned(&error, sd_bus_error_free);
  sd_bus_message* reply = nullptr;
  const int result = sd_bus_call(nullptr, request.get(), 0, &error, &reply);
  if (result < 0) {
    raise(result, error);
  }
  return BusMessage(reply);
}

template <class... Arguments>
BusMessage call(const Bus& bus, const Arguments&... arguments) {
  return replyTo(newCall(bus, arguments...));
}

inline QByteArray readText(const BusMessage& reply) {
  const char* text = nullptr;
  check(sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_STRING, &text));
  return text;
}

}  // namespace BusCalls
