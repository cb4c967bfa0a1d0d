#include "EventlistHandlerDBusConnectorWrite.h"

#include "Hub.h"

bool EventlistHandlerDBusConnectorWrite::deleteEventlist() {
  Message message;
  message.kind = Message::Kind::DeleteEvents;
  return m_bDeviceBus && Hub::instance().submit(std::move(message));
}
