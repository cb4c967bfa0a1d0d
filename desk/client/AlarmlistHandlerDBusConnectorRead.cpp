#include "AlarmlistHandlerDBusConnectorRead.h"

#include <array>
#include <new>

#include "Hub.h"

using namespace Tavroline;

/** Holds what the connector has reported last. If the connector was not constructed for the device's bus, or
 * if memory allocation failed, the connector has no Private object and its functions return null or false.
 * The component's hook queries the flags and the list in the same cycle, so only listChanged() starts the
 * hub's thread. */
class AlarmlistHandlerDBusConnectorRead::Private {
 public:
  bool flagChanged(ListState::Flag flag, bool& value) {
    const bool present = m_hub.listState().flags[flag].load(std::memory_order_relaxed);
    if (present == m_reported[flag]) {
      return false;
    }
    value = m_reported[flag] = present;
    return true;
  }

  bool listChanged() { return m_hub.start() && m_hub.listState().alarms.changedSince(m_seenChanges); }

 private:
  Hub& m_hub = Hub::instance();
  quint32 m_seenChanges = m_hub.listState().alarms.count();
  std::array<bool, ListState::FlagCount> m_reported{};
};

AlarmlistHandlerDBusConnectorRead::AlarmlistHandlerDBusConnectorRead(bool deviceBus) noexcept
    : m_private(deviceBus ? new (std::nothrow) Private : nullptr) {}

AlarmlistHandlerDBusConnectorRead::~AlarmlistHandlerDBusConnectorRead() = default;

DBusPendingReply::SharedPointer AlarmlistHandlerDBusConnectorRead::getCompleteAlarmlist(
    const QString& language) {
  return m_private ? Hub::instance().request(RequestKind::AlarmList, language) : nullptr;
}

DBusPendingReply::SharedPointer AlarmlistHandlerDBusConnectorRead::getAlarmState(const QString& alarmId) {
  return m_private ? Hub::instance().request(RequestKind::AlarmState, alarmId) : nullptr;
}

bool AlarmlistHandlerDBusConnectorRead::changedFlagAlarmlist() {
  return m_private && m_private->listChanged();
}

bool AlarmlistHandlerDBusConnectorRead::changedFlagAlarmInAlarmlist(bool& value) {
  return m_private && m_private->flagChanged(ListState::AlarmInList, value);
}

bool AlarmlistHandlerDBusConnectorRead::changedFlagActiveAlarmInAlarmlist(bool& value) {
  return m_private && m_private->flagChanged(ListState::ActiveAlarmInList, value);
}

bool AlarmlistHandlerDBusConnectorRead::changedFlagFaultInAlarmlist(bool& value) {
  return m_private && m_private->flagChanged(ListState::FaultInList, value);
}

bool AlarmlistHandlerDBusConnectorRead::changedFlagActiveFaultInAlarmlist(bool& value) {
  return m_private && m_private->flagChanged(ListState::ActiveFaultInList, value);
}

bool AlarmlistHandlerDBusConnectorRead::changedFlagCentralDetector(bool& value) {
  return m_private && m_private->flagChanged(ListState::CentralDetector, value);
}
