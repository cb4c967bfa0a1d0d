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

/** Throws if `result` is the error of a connection that has ended. */
inline void checkConnection(int result) {
  if (result == -ECONNRESET || result == -ENOTCONN || result == -EPIPE) {
    throw NoBus("the connection to the bus is lost");
  }
}

inline void check(int result) {
  checkConnection(result);
  if (result < 0) {
    throw ClientError(std::string("the bus failed: ") + std::strerror(-result));
  }
}

/** The service answered a call with an error. */
struct Refused : ClientError {
  using ClientError::ClientError;
};

/** Throws what the error of a call means. */
[[noreturn]] inline void raise(int result, const sd_bus_error& error) {
  checkConnection(result);
  const auto is = [&error](const char* name) { return sd_bus_error_has_name(&error, name) > 0; };
  if (is(SD_BUS_ERROR_SERVICE_UNKNOWN) || is(SD_BUS_ERROR_NAME_HAS_NO_OWNER) || is(SD_BUS_ERROR_NO_REPLY)) {
    throw NoService("no list service runs on this bus; start tavroline-listd");
  }
  if (is(SD_BUS_ERROR_ACCESS_DENIED)) {
    throw Forbidden("the bus forbids this call to this user; tavroline-ctl doctor says more");
  }
  if (result == -ETIMEDOUT) {
    throw ClientError("the service did not answer in time");
  }
  throw Refused(std::string("the service refused: ") +
                (error.message != nullptr ? error.message : std::strerror(-result)));
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
