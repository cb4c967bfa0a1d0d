#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "CodesysEventlistHandlerConnector.h"
#include "EventlistHandlerDBusConnectorWrite.h"
#include "EventlistHandlerEnums.h"

/**
 * Writes plain entries into the event list and deletes the list. Refuses alarms and faults, which an alarm
 * handler sends. An object is used for one call; writers share nothing, and their calls may overlap.
 */
class TavrolineEventlistWrite {
 public:
  TavrolineEventlistWrite();
  virtual ~TavrolineEventlistWrite();
  TavrolineEventlistWrite(const TavrolineEventlistWrite&) = delete;
  TavrolineEventlistWrite& operator=(const TavrolineEventlistWrite&) = delete;

  /**
   * Hand one entry to the service; type alarm or fault gives a Qt warning instead.
   * @param iconType empty selects the default of type and state, which may be empty too
   * @param dateTime null is passed on as it is. [plc-task]
   */
  void logEvent(EventlistHandlerEnums::EventType type, EventlistHandlerEnums::State state,
                const QString& iconType, const QString& moduleName, const QDateTime& dateTime,
                const QVariantMap& description, const QStringList& keywords, const QString& user) const;

  /** Ask the service to delete the event list. @return the client's result. [plc-task] */
  auto deleteEventlist() { return m_EventlistHandlerConnectorWrite.deleteEventlist(); }

 protected:
  CodesysEventlistHandlerConnector m_EventlistHandlerConnector;
  EventlistHandlerDBusConnectorWrite m_EventlistHandlerConnectorWrite;
};
