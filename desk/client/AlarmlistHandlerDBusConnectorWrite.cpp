#include "AlarmlistHandlerDBusConnectorWrite.h"

#include "Hub.h"

using namespace Tavroline;

bool AlarmlistHandlerDBusConnectorWrite::acknowledgeVisualAlarm(const QStringList& alarmIds,
                                                                const QString& user) {
  return m_deviceBus &&
         Hub::instance().submit([&](MessageWriter& message) { message.acknowledgeAlarms(user, alarmIds); });
}

bool AlarmlistHandlerDBusConnectorWrite::acknowledgeCentralDetector(const QString& user) {
  return m_deviceBus &&
         Hub::instance().submit([&](MessageWriter& message) { message.acknowledgeDetector(user); });
}
