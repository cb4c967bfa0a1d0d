#pragma once

#include <QString>
#include <QStringList>

/**
 * Writing client of the alarm-list service. An object is used for one call; several objects may be used at
 * the same time on different threads. No operation waits for the bus. Messages are sent even after the object
 * is destroyed.
 */
class AlarmlistHandlerDBusConnectorWrite {
 public:
  /** @param deviceBus true, always: attach to the device's bus. [plc-task] */
  explicit AlarmlistHandlerDBusConnectorWrite(bool deviceBus) noexcept : m_deviceBus(deviceBus) {}

  /**
   * Hand over the visual acknowledgement of some alarms, an empty list included.
   * @param alarmIds identifiers as the alarm list shows them; any of them may be unknown to the service
   * @return whether it was accepted for sending; the component does not use it. [plc-task]
   */
  bool acknowledgeVisualAlarm(const QStringList& alarmIds, const QString& user);

  /** Hand over the acknowledgement of the central detector; result as acknowledgeVisualAlarm(). [plc-task] */
  bool acknowledgeCentralDetector(const QString& user);

 private:
  bool m_deviceBus;
};
