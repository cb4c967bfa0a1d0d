#include "TavrolineAlarmlistRead.h"

#include "EventlistHandlerDefinitions.h"
#include "ListEntry.h"
#include "ReaderGroup.h"
#include "Synchronization.h"

using namespace Tavroline;

namespace {

using Keys = EventlistHandlerDefinitions;

constexpr ReaderTexts kTexts = {
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
constexpr std::int32_t stateFilterFor(bool kept) {
  return 2 - static_cast<std::int32_t>(kept);
}

bool passes(std::int32_t stateFilter, const QJsonObject& entry, const QString& column) {
  return stateFilter == kNoStateFilter || stateFilter == stateFilterFor(entry.value(column).toBool());
}

void fillEntry(ListEntry& entry, stAlarmlistEntryType& target) {
  target.xAlarmActive = static_cast<RTS_IEC_BOOL>(entry.flag(ListColumns::AlarmActive));
  target.xAlarmAcknowledgment = static_cast<RTS_IEC_BOOL>(entry.flag(ListColumns::AlarmAcknowledgment));
  copyText(entry, ListColumns::AlarmID, target.sAlarmID);
  copyCommonFields(entry, target);
}

}  // namespace

ReaderGroup<TavrolineAlarmlistRead> TavrolineAlarmlistRead::group() {
  return {sm_AccessAlarmlistInstancePointers, sm_Mutex, sm_bDBusInterfaceReady, kTexts};
}

TavrolineAlarmlistRead::TavrolineAlarmlistRead() {
  group().addReader(this);
}

TavrolineAlarmlistRead::~TavrolineAlarmlistRead() {
  group().removeReader(this, m_ReadState);
}

void TavrolineAlarmlistRead::pollDBusSignals() {
  const LockGuard<QMutex> lock(sm_Mutex);
  AlarmlistHandlerDBusConnectorRead& client = sm_AlarmlistHandlerDBusConnectorRead;
  bool value = false;
  if (client.changedFlagAlarmInAlarmlist(value)) {
    SharedFlag::store(sm_bIsAlarmInAlarmlist, value);
  }
  if (client.changedFlagActiveAlarmInAlarmlist(value)) {
    SharedFlag::store(sm_bIsActiveAlarmInAlarmlist, value);
  }
  if (client.changedFlagFaultInAlarmlist(value)) {
    SharedFlag::store(sm_bIsFaultInAlarmlist, value);
  }
  if (client.changedFlagActiveFaultInAlarmlist(value)) {
    SharedFlag::store(sm_bIsActiveFaultInAlarmlist, value);
  }
  const bool listChanged = client.changedFlagAlarmlist();
  bool detector = false;
  const bool detectorChanged = client.changedFlagCentralDetector(detector);
  group().forEach([&](TavrolineAlarmlistRead& reader) {
    if (listChanged) {
      SharedFlag::store(reader.m_bListChanged, true);
    }
    if (detectorChanged) {
      SharedFlag::store(reader.m_bCentralDetectorState, detector);
    }
  });
}

std::int16_t TavrolineAlarmlistRead::readListAsynchron(std::uint16_t /*n*/) {
  DBusPendingReply::SharedPointer reply;
  {
    const LockGuard<QMutex> lock(sm_Mutex);
    reply = sm_AlarmlistHandlerDBusConnectorRead.getCompleteAlarmlist(m_sLanguage);
  }
  return group().keepReply(reply, m_PendingReply);
}

std::int16_t TavrolineAlarmlistRead::loadCompleteAlarmlist() {
  const LockGuard<QMutex> lock(sm_Mutex);
  return loadCompleteList(sm_bDBusInterfaceReady, sm_LoadListTimeoutTimer, 0);
}

std::int16_t TavrolineAlarmlistRead::convertAlarmlist(int& count, stAlarmlistEntryType* entries,
                                                      int capacity) const {
  return group().copyEntries(*this, m_ListData, count, entries, capacity, fillEntry);
}

void TavrolineAlarmlistRead::setFilterStateAlarm(bool active) {
  m_iFilterStateAlarm = stateFilterFor(active);
}

void TavrolineAlarmlistRead::resetFilterStateAlarm() {
  m_iFilterStateAlarm = kNoStateFilter;
}

void TavrolineAlarmlistRead::setFilterStateAcknowledge(bool acknowledged) {
  m_iFilterStateAcknowledge = stateFilterFor(acknowledged);
}

void TavrolineAlarmlistRead::resetFilterStateAcknowledge() {
  m_iFilterStateAcknowledge = kNoStateFilter;
}

bool TavrolineAlarmlistRead::additionalFilterCheck(const QJsonObject& entry) const {
  return passes(m_iFilterStateAlarm, entry, Keys::getListColumnNameAlarmActive()) &&
         passes(m_iFilterStateAcknowledge, entry, Keys::getListColumnNameAlarmAcknowledgment());
}
