#pragma once

#include <QMutex>

#include "AlarmlistHandlerDBusConnectorRead.h"
#include "TavrolineReadBaseClass.h"
#include "tavroline/alarmlist.h"

namespace Tavroline {
template <typename Reader>
struct ReaderGroup;
}

/**
 * Reader of the device's alarm list, built like the event-list reader. Adds two state filters, the four
 * summary flags, which are the same for all readers, and the central detector's state, which is each reader's
 * own.
 */
class TavrolineAlarmlistRead : public TavrolineReadBaseClass {
 public:
  /** Enters the class's list of readers and so receives reports. [plc-task] */
  TavrolineAlarmlistRead();
  /** Leaves it; an outstanding request no longer holds up other readers. [plc-task] */
  ~TavrolineAlarmlistRead() override;

  /** Take over what the service has reported since the last poll. Never waits for the bus. [hook] */
  static void pollDBusSignals();

  /** Issue the request for the complete list; the argument is not used. [plc-task] */
  std::int16_t readListAsynchron(std::uint16_t n) override;

  /** One step of loading, under the class mutex; see TavrolineReadBaseClass::loadCompleteList(). [plc-task]
   */
  std::int16_t loadCompleteAlarmlist();

  /** Copy the loaded entries that pass the filters; as TavrolineEventlistRead::convertEventlist(). [plc-task]
   */
  std::int16_t convertAlarmlist(int& count, stAlarmlistEntryType* entries, int capacity) const;

  /** Last state reported while this reader existed; starts false. [plc-task] */
  bool getCentralDetectorState() const { return Tavroline::SharedFlag::load(m_bCentralDetectorState); }

  /** What the list holds, false until the service first reports it. [plc-task] */
  bool isAlarmInAlarmlist() const { return Tavroline::SharedFlag::load(sm_bIsAlarmInAlarmlist); }
  bool isActiveAlarmInAlarmlist() const { return Tavroline::SharedFlag::load(sm_bIsActiveAlarmInAlarmlist); }
  bool isFaultInAlarmlist() const { return Tavroline::SharedFlag::load(sm_bIsFaultInAlarmlist); }
  bool isActiveFaultInAlarmlist() const { return Tavroline::SharedFlag::load(sm_bIsActiveFaultInAlarmlist); }

  /** Keep active (true) or inactive (false) entries, or both. [plc-task] */
  void setFilterStateAlarm(bool active);
  void resetFilterStateAlarm();

  /** Keep acknowledged (true) or unacknowledged (false) entries, or both. [plc-task] */
  void setFilterStateAcknowledge(bool acknowledged);
  void resetFilterStateAcknowledge();

  /** Whether the entry passes both state filters; an absent column counts as false. [plc-task] */
  bool additionalFilterCheck(const QJsonObject& entry) const override;

 protected:
  bool m_bCentralDetectorState = false;
  std::int32_t m_iFilterStateAlarm = 0;        ///< 0 both, 1 only active, 2 only inactive
  std::int32_t m_iFilterStateAcknowledge = 0;  ///< 0 both, 1 only acknowledged, 2 only unacknowledged

  static QList<TavrolineAlarmlistRead*> sm_AccessAlarmlistInstancePointers;
  static AlarmlistHandlerDBusConnectorRead sm_AlarmlistHandlerDBusConnectorRead;
  static QMutex sm_Mutex;
  static bool sm_bDBusInterfaceReady;
  static QElapsedTimer sm_LoadListTimeoutTimer;
  static bool sm_bIsAlarmInAlarmlist;
  static bool sm_bIsActiveAlarmInAlarmlist;
  static bool sm_bIsFaultInAlarmlist;
  static bool sm_bIsActiveFaultInAlarmlist;

 private:
  /** What all readers of this class share. [any-thread] */
  static Tavroline::ReaderGroup<TavrolineAlarmlistRead> group();
};
