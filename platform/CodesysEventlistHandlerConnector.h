#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "EventlistHandlerEnums.h"

/** Sends entries of PLC applications to the event-list service. Objects share nothing and may overlap. */
class CodesysEventlistHandlerConnector {
 public:
  /** @param objectName the object under which the entries are written. [plc-task] */
  explicit CodesysEventlistHandlerConnector(const QString& objectName) : m_objectName(objectName) {}

  /**
   * Hand over one entry. Entries arrive in the order in which they were handed over, each at most once.
   * @param dateTime null: the time of this call
   * @param description keys of EventsDBusDefinitions
   * @param alarmId empty for an event; otherwise the identifier of the alarm or fault that turns on or off
   * @return true when it was accepted for sending, false when it was refused (and counted as lost).
   * [plc-task]
   */
  bool logEvent(EventlistHandlerEnums::EventType type, EventlistHandlerEnums::State state,
                const QString& iconType, const QString& moduleName, const QDateTime& dateTime,
                const QVariantMap& description, const QStringList& keywords, const QString& user,
                const QString& alarmId) const;

 private:
  QString m_objectName;
};
