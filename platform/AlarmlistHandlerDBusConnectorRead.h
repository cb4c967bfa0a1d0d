#pragma once

#include <QString>

#include <memory>

#include "DBusPendingReply.h"

/**
 * Reading client of the alarm-list service. An implementation keeps the promises about waiting, exceptions,
 * construction and threads that EventlistHandlerDBusConnectorRead.h states.
 */
class AlarmlistHandlerDBusConnectorRead {
 public:
  /** @param deviceBus true, always: attach to the device's bus. [init] */
  explicit AlarmlistHandlerDBusConnectorRead(bool deviceBus) noexcept;
  ~AlarmlistHandlerDBusConnectorRead();
  AlarmlistHandlerDBusConnectorRead(const AlarmlistHandlerDBusConnectorRead&) = delete;
  AlarmlistHandlerDBusConnectorRead& operator=(const AlarmlistHandlerDBusConnectorRead&) = delete;

  /**
   * Start the request for the whole list.
   * @param language of the descriptions, as the application set it; empty selects the service's default
   * @return the reply, outstanding or finished already; null when the request could not be created.
   * [plc-task]
   */
  DBusPendingReply::SharedPointer getCompleteAlarmlist(const QString& language);

  /**
   * Start the query for the state of one alarm. Its reply is a JSON object with two boolean members, named by
   * getListColumnNameAlarmActive() and getListColumnNameAlarmAcknowledgment(); a missing one counts as false.
   * @param alarmId identifier that logEvent() was given
   * @return as getCompleteAlarmlist(). [plc-task]
   */
  DBusPendingReply::SharedPointer getAlarmState(const QString& alarmId);

  /** @return true if the service has reported a change of the list since the last call on this object. [hook]
   */
  bool changedFlagAlarmlist();

  /**
   * Each of these returns true if its value has changed since the last call on this object, and then sets
   * `value` to the present one; otherwise `value` is unchanged. [hook]
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
