#include "ChangeSignals.h"

#include <climits>

using namespace Tavroline::ListServiceNames;

ChangeSignals::ChangeSignals(sd_bus* bus, ListService& service)
    : m_bus(bus), m_service(service), m_reported(service.snapshot()), m_changes(service.changes()) {}

int ChangeSignals::timeout() const {
  if (m_changes == m_service.changes()) {
    return INT_MAX;
  }
  const qint64 rest = m_sinceSignals.isValid() ? kInterval - m_sinceSignals.elapsed() : 0;
  return static_cast<int>(qMax<qint64>(rest, 0));
}

void ChangeSignals::emitDue() {
  if (timeout() == 0) {
    emitNow();
  }
}

void ChangeSignals::emitNow() {
  if (m_changes == m_service.changes()) {
    return;
  }
  m_sinceSignals.start();
  ListSnapshot now;
  try {
    now = m_service.snapshot();
  } catch (const std::exception&) {
    m_service.recover();
    return;  // the next turn tries again
  }
  if (now.eventGeneration != m_reported.eventGeneration) {
    sd_bus_emit_signal(m_bus, kEventListPath, kEventListInterface, "Changed", "t", now.eventGeneration);
  }
  if (now.alarmGeneration != m_reported.alarmGeneration) {
    sd_bus_emit_signal(m_bus, kAlarmListPath, kAlarmListInterface, "Changed", "t", now.alarmGeneration);
  }
  if (now.summary != m_reported.summary) {
    const AlarmSummary& s = now.summary;
    sd_bus_emit_signal(m_bus, kAlarmListPath, kAlarmListInterface, "SummaryChanged", "(bbbb)", s[0], s[1],
                       s[2], s[3]);
  }
  if (now.detector != m_reported.detector) {
    sd_bus_emit_signal(m_bus, kAlarmListPath, kAlarmListInterface, "DetectorChanged", "b", int{now.detector});
  }
  m_reported = now;
  m_changes = m_service.changes();
}
