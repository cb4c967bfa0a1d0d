#include "CodesysEventlistHandlerConnector.h"

#include "Hub.h"

using namespace Tavroline;

bool CodesysEventlistHandlerConnector::logEvent(EventlistHandlerEnums::EventType type,
                                                EventlistHandlerEnums::State state, const QString& iconType,
                                                const QString& moduleName, const QDateTime& dateTime,
                                                const QVariantMap& description, const QStringList& keywords,
                                                const QString& user, const QString& alarmId) const {
  Message message;
  message.kind = Message::Kind::LogEntry;
  message.eventType = type;
  message.state = state;
  message.iconType = iconType;
  message.moduleName = moduleName;
  message.dateTime = dateTime;
  message.description = description;
  message.texts = keywords;
  message.user = user;
  message.alarmId = alarmId;
  message.objectName = m_objectName;
  return Hub::instance().submit(std::move(message));
}
