#pragma once

#include <QString>

#include <memory>

#include "DBusPendingReply.h"

/**
 * Reading client of the alarm-list service. What EventlistHandlerDBusConnectorRead promises about waiting,
 * exceptions, construction and threads holds here too.
 */
class AlarmlistHandlerDBusConnectorRead {
 public:
  /** @param deviceBus true attaches to the device's bus; false: requests give null, the flags stay false.
   * [init] */
  explicit AlarmlistHandlerDBusConnectorRead(bool deviceBus) noexcept;
  ~AlarmlistHandlerDBusConnectorRead();
  AlarmlistHandlerDBusConnectorRead(const AlarmlistHandlerDBusConnectorRead&) = delete;
  AlarmlistHandlerDBusConnectorRead& operator=(const AlarmlistHandlerDBusConnectorRead&) = delete;

  /**
   * Start the request for the whole list.
   * @param language of the descriptions; empty selects the service's default
   * @return the outstanding reply, null when the request could not be created. [plc-task]
   */
  DBusPendingReply::SharedPointer getCompleteAlarmlist(const QString& language);

  /**
   * Start the query for one alarm; its reply is a JSON object with the alarm-active and acknowledgment
   * columns, both false for an identifier that the list does not hold.
   * @return as getCompleteAlarmlist(). [plc-task]
   */
  DBusPendingReply::SharedPointer getAlarmState(const QString& alarmId);

  /** True once after each change of the list that the service has reported to this object. [hook] */
  bool changedFlagAlarmlist();

  /**
   * Each of these returns true once after each change reported to this object and then sets its argument to
   * the present value; otherwise the argument is left alone. All values start false. [hook]
   */
  bool changedFlagAlarmInAlarmlist(bool& value);
  bool changedFlagActiveAlarmInAlarmlist(bool& value);
  bool changedFlagFaultInAlarmlist(bool& value);
  bool changedFlagActiveFaultInAlarmlist(bool& value);
  bool changedFlagCentralDetector(bool& value);

 private:
  class Private;
  std::unique_ptr<Private> m_private;
};
