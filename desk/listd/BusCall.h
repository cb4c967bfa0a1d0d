#pragma once

#include <cstring>

#include "BusPointer.h"
#include "CallError.h"
#include "ListService.h"

using Tavroline::BusMessage;
using Tavroline::checkBus;

inline QByteArray readText(sd_bus_message* call) {
  const char* text = nullptr;
  checkBus(sd_bus_message_read_basic(call, SD_BUS_TYPE_STRING, &text));
  return text;
}

inline void appendText(sd_bus_message* reply, const QByteArray& utf8) {
  checkBus(sd_bus_message_append_basic(reply, SD_BUS_TYPE_STRING, utf8.constData()));
}

inline void appendTexts(sd_bus_message* reply, const QByteArrayList& texts) {
  checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_ARRAY, "s"));
  for (const QByteArray& text : texts) {
    appendText(reply, text);
  }
  checkBus(sd_bus_message_close_container(reply));
}

/** A reply to `call`, to be filled by the caller and sent. */
inline BusMessage newReply(sd_bus_message* call) {
  sd_bus_message* reply = nullptr;
  checkBus(sd_bus_message_new_method_return(call, &reply));
  return BusMessage(reply);
}

inline void sendReply(const BusMessage& message) {
  checkBus(sd_bus_send(nullptr, message.get(), nullptr));
}

/** Runs `body`, which answers the call. If it throws, the answer is an error: that of a CallError, and
 * kErrorStorage for any other. @return 1, as sd-bus wants it */
template <class Body>
int answerCall(sd_bus_message* call, ListService& service, const Body& body) {
  try {
    body();
  } catch (const CallError& refusal) {
    sd_bus_reply_method_errorf(call, refusal.name(), "%s", refusal.what());
  } catch (const std::exception& cause) {
    service.recover();
    sd_bus_reply_method_errorf(call, Tavroline::ListServiceNames::kErrorStorage, "%s", cause.what());
  }
  return 1;
}

/** Lets the bus call object->end(name) for each connection that has ended. */
template <class Object>
void watchEnds(sd_bus* bus, Object* object) {
  const auto onOwnerChanged = [](sd_bus_message* signal, void* watching, sd_bus_error* /*error*/) noexcept {
    // A signal sent to the service directly passes the match, whoever sent it.
    const char* const sender = sd_bus_message_get_sender(signal);
    const char* name = nullptr;
    if (sender != nullptr && std::strcmp(sender, "org.freedesktop.DBus") == 0 &&
        sd_bus_message_read_basic(signal, SD_BUS_TYPE_STRING, &name) > 0) {
      static_cast<Object*>(watching)->end(name);
    }
    return 0;
  };
  checkBus(sd_bus_add_match(bus, nullptr,
                            "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''",
                            onOwnerChanged, object));
}
