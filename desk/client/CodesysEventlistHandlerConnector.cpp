#include "CodesysEventlistHandlerConnector.h"

#include "Hub.h"

using namespace Tavroline;

bool CodesysEventlistHandlerConnector::logEvent(EventlistHandlerEnums::EventType type,
                                                EventlistHandlerEnums::State state, const QString& iconType,
                                                const QString& moduleName, const QDateTime& dateTime,
                                                const QVariantMap& description, const QStringList& keywords,
                                                const QString& user, const QString& alarmId) const {
  const qint64 time = dateTime.isValid() ? dateTime.toMSecsSinceEpoch() : QDateTime::currentMSecsSinceEpoch();
  return Hub::instance().submit([&](MessageWriter& message) {
    message.entry(alarmId, state, type, time, iconType, moduleName, user, m_objectName, keywords,
                  description);
  });
}
