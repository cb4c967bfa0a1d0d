#include "EventlistHandlerDBusConnectorWrite.h"

#include "Hub.h"

using namespace Tavroline;

bool EventlistHandlerDBusConnectorWrite::deleteEventlist() {
  Message message;
  message.kind = Message::Kind::DeleteEvents;
  return m_deviceBus && Hub::instance().submit(std::move(message));
}
