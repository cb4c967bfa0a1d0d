#pragma once

#include <QString>
#include <QStringList>

#include "AlarmlistHandlerDBusConnectorWrite.h"

/**
 * Forwards acknowledgements to the alarm-list service. An object is used for one call; writers share nothing,
 * and their calls may overlap.
 */
class TavrolineAlarmlistWrite {
 public:
  TavrolineAlarmlistWrite();
  virtual ~TavrolineAlarmlistWrite();
  TavrolineAlarmlistWrite(const TavrolineAlarmlistWrite&) = delete;
  TavrolineAlarmlistWrite& operator=(const TavrolineAlarmlistWrite&) = delete;

  /**
   * Acknowledge alarms by their identifiers, an empty list included.
   * @return the client's result. [plc-task]
   */
  auto acknowledgeVisualAlarm(const QStringList& alarmIds, const QString& user) {
    return m_AlarmlistHandlerConnectorWrite.acknowledgeVisualAlarm(alarmIds, user);
  }

  /** Acknowledge the central detector. @return the client's result. [plc-task] */
  auto acknowledgeCentralDetector(const QString& user) {
    return m_AlarmlistHandlerConnectorWrite.acknowledgeCentralDetector(user);
  }

 protected:
  AlarmlistHandlerDBusConnectorWrite m_AlarmlistHandlerConnectorWrite;
};
