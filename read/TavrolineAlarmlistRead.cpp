#include "TavrolineAlarmlistRead.h"

#include "EntryFields.h"
#include "EventlistHandlerDefinitions.h"
#include "ReaderClass.h"
#include "Synchronization.h"

namespace {

using Keys = EventlistHandlerDefinitions;

constexpr ReaderClass::Names kNames = {
    "TavrolineAlarmlistRead",
    "loadCompleteAlarmlist",
    "convertAlarmlist",
    "virtual int16_t TavrolineAlarmlistRead::readListAsynchron(uint16_t)",
    "static void TavrolineAlarmlistRead::pollDBusSignals()",
    "int16_t TavrolineAlarmlistRead::convertAlarmlist(int&, stAlarmlistEntryType*, int) const",
    "virtual TavrolineAlarmlistRead::~TavrolineAlarmlistRead()",
};

constexpr std::int32_t kNoStateFilter = 0;

/** The filter value that keeps entries whose column is `kept`: 1 for true, 2 for false. */
constexpr std::int32_t keeping(bool kept) {
  return 2 - static_cast<std::int32_t>(kept);
}

bool passes(std::int32_t stateFilter, const QJsonObject& entry, const QString& column) {
  return stateFilter == kNoStateFilter || stateFilter == keeping(entry.value(column).toBool());
}

void fillEntry(ListEntry& entry, stAlarmlistEntryType& target) {
  target.xAlarmActive = static_cast<RTS_IEC_BOOL>(entry.flag(ListColumns::AlarmActive));
  target.xAlarmAcknowledgment = static_cast<RTS_IEC_BOOL>(entry.flag(ListColumns::AlarmAcknowledgment));
  EntryFields::copyText(entry, ListColumns::AlarmID, target.sAlarmID);
  EntryFields::copyCommonFields(entry, target);
}

}  // namespace

TavrolineAlarmlistRead::TavrolineAlarmlistRead() {
  ReaderClass::enlist(sm_Mutex, sm_AccessAlarmlistInstancePointers, this);
}

TavrolineAlarmlistRead::~TavrolineAlarmlistRead() {
  ReaderClass::delist(sm_Mutex, sm_AccessAlarmlistInstancePointers, this, m_ReadState, sm_bDBusInterfaceReady,
                      kNames);
}

void TavrolineAlarmlistRead::pollDBusSignals() {
  const Tavroline::LockGuard<QMutex> lock(sm_Mutex);
  AlarmlistHandlerDBusConnectorRead& client = sm_AlarmlistHandlerDBusConnectorRead;
  bool value = false;
  if (client.changedFlagAlarmInAlarmlist(value)) {
    Tavroline::SharedFlag::store(sm_bIsAlarmInAlarmlist, value);
  }
  if (client.changedFlagActiveAlarmInAlarmlist(value)) {
    Tavroline::SharedFlag::store(sm_bIsActiveAlarmInAlarmlist, value);
  }
  if (client.changedFlagFaultInAlarmlist(value)) {
    Tavroline::SharedFlag::store(sm_bIsFaultInAlarmlist, value);
  }
  if (client.changedFlagActiveFaultInAlarmlist(value)) {
    Tavroline::SharedFlag::store(sm_bIsActiveFaultInAlarmlist, value);
  }
  const bool listChanged = client.changedFlagAlarmlist();
  bool detector = false;
  const bool detectorChanged = client.changedFlagCentralDetector(detector);
  ReaderClass::forEach(sm_AccessAlarmlistInstancePointers, kNames, [&](TavrolineAlarmlistRead& reader) {
    if (listChanged) {
      Tavroline::SharedFlag::store(reader.m_bListChanged, true);
    }
    if (detectorChanged) {
      Tavroline::SharedFlag::store(reader.m_bCentralDetectorState, detector);
    }
  });
}

std::int16_t TavrolineAlarmlistRead::readListAsynchron(std::uint16_t /*n*/) {
  DBusPendingReply::SharedPointer reply;
  {
    const Tavroline::LockGuard<QMutex> lock(sm_Mutex);
    reply = sm_AlarmlistHandlerDBusConnectorRead.getCompleteAlarmlist(m_sLanguage);
  }
  return ReaderClass::adoptReply(reply, m_PendingReply, kNames);
}

std::int16_t TavrolineAlarmlistRead::loadCompleteAlarmlist() {
  const Tavroline::LockGuard<QMutex> lock(sm_Mutex);
  return loadCompleteList(sm_bDBusInterfaceReady, sm_LoadListTimeoutTimer, 0);
}

std::int16_t TavrolineAlarmlistRead::convertAlarmlist(int& count, stAlarmlistEntryType* entries,
                                                      int capacity) const {
  return ReaderClass::copyEntries(*this, sm_Mutex, m_ListData, count, entries, capacity, kNames, fillEntry);
}

void TavrolineAlarmlistRead::setFilterStateAlarm(bool active) {
  m_iFilterStateAlarm = keeping(active);
}

void TavrolineAlarmlistRead::resetFilterStateAlarm() {
  m_iFilterStateAlarm = kNoStateFilter;
}

void TavrolineAlarmlistRead::setFilterStateAcknowledge(bool acknowledged) {
  m_iFilterStateAcknowledge = keeping(acknowledged);
}

void TavrolineAlarmlistRead::resetFilterStateAcknowledge() {
  m_iFilterStateAcknowledge = kNoStateFilter;
}

bool TavrolineAlarmlistRead::additionalFilterCheck(const QJsonObject& entry) const {
  return passes(m_iFilterStateAlarm, entry, Keys::getListColumnNameAlarmActive()) &&
         passes(m_iFilterStateAcknowledge, entry, Keys::getListColumnNameAlarmAcknowledgment());
}
