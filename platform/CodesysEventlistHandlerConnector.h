#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "EventlistHandlerEnums.h"

/**
 * Sends entries of PLC applications to the event-list service. Several objects may be used at the same time
 * on different threads. No operation waits for the bus. Messages are sent even after the object is destroyed.
 */
class CodesysEventlistHandlerConnector {
 public:
  /** @param objectName the object under which the entries are written. [plc-task] */
  explicit CodesysEventlistHandlerConnector(const QString& objectName) : m_objectName(objectName) {}

  /**
   * Hand over one entry. Entries reach the service in the order in which they were handed over, each once at
   * most.
   * @param type, state any 16-bit value is possible
   * @param dateTime UTC; null when the application gave no time
   * @param description by the keys of EventsDBusDefinitions
   * @param alarmId empty for an event; otherwise the identifier of the alarm or fault that turns on or off
   * @return whether it was accepted for sending; the component does not use it. [plc-task]
   */
  bool logEvent(EventlistHandlerEnums::EventType type, EventlistHandlerEnums::State state,
                const QString& iconType, const QString& moduleName, const QDateTime& dateTime,
                const QVariantMap& description, const QStringList& keywords, const QString& user,
                const QString& alarmId) const;

 private:
  QString m_objectName;
};
