#pragma once

#include <QString>
#include <QStringList>

/** Writing client of the alarm-list service. Objects share nothing; each may live for a single call. */
class AlarmlistHandlerDBusConnectorWrite {
 public:
  /** @param deviceBus true attaches to the device's bus, false refuses every request. [plc-task] */
  explicit AlarmlistHandlerDBusConnectorWrite(bool deviceBus) noexcept : m_deviceBus(deviceBus) {}

  /**
   * Hand over the visual acknowledgement of some alarms, an empty list included.
   * @param alarmIds identifiers as the alarm list shows them; unknown ones are ignored by the service
   * @return true when it was accepted for sending, false when it was refused (and counted as lost).
   * [plc-task]
   */
  bool acknowledgeVisualAlarm(const QStringList& alarmIds, const QString& user);

  /** Hand over the acknowledgement of the central detector; result as acknowledgeVisualAlarm(). [plc-task] */
  bool acknowledgeCentralDetector(const QString& user);

 private:
  bool m_deviceBus;
};
