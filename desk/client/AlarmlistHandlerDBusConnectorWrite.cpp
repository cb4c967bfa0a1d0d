#include "AlarmlistHandlerDBusConnectorWrite.h"

#include "Hub.h"

using namespace Tavroline;

bool AlarmlistHandlerDBusConnectorWrite::acknowledgeVisualAlarm(const QStringList& alarmIds,
                                                                const QString& user) {
  Message message;
  message.kind = Message::Kind::AcknowledgeAlarms;
  message.texts = alarmIds;
  message.user = user;
  return m_deviceBus && Hub::instance().submit(std::move(message));
}

bool AlarmlistHandlerDBusConnectorWrite::acknowledgeCentralDetector(const QString& user) {
  Message message;
  message.kind = Message::Kind::AcknowledgeDetector;
  message.user = user;
  return m_deviceBus && Hub::instance().submit(std::move(message));
}
