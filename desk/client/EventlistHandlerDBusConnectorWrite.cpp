#include "EventlistHandlerDBusConnectorWrite.h"

#include "Hub.h"

using namespace Tavroline;

bool EventlistHandlerDBusConnectorWrite::deleteEventlist() {
  return m_deviceBus && Hub::instance().submit([](MessageWriter& message) { message.deleteEvents(); });
}
