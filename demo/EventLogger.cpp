#include "EventLogger.h"

#include <utility>

namespace {

constexpr char16_t kOperator[] = u"Jörg Weiß";

std::string english(const char* what, int value) {
  return std::string(kModule) + ": " + what + " (P1, " + std::to_string(value) + " %)";
}

}  // namespace

void EventLogger::cycle(const ProcessModel& process) {
  if (process.setpoint() != m_setpoint) {
    logSetpoint(process);
  }
  if (process.pumpRuns() != m_pumpRan) {
    logPump(process);
  }
  m_setpoint = process.setpoint();
  m_pumpRan = process.pumpRuns();
}

void EventLogger::logPump(const ProcessModel& process) {
  const bool started = process.pumpRuns();
  const bool byHand = process.pumpByHand();
  const std::u16string_view user = byHand ? kOperator : u"";
  const Entry entry(started ? "PumpStarted" : "PumpStopped", process.level(),
                    {"pump", byHand ? "hand" : "automatic"}, user);
  log(started ? TAVROLINE_ON : TAVROLINE_OFF, started ? "pump-runs" : "pump-stands", entry,
      {TAVROLINE_EVENT, process.time(), english(started ? "Pump started" : "Pump stopped", process.level()),
       IecText::narrow(IecText::wide(user).data()), byHand});
}

void EventLogger::logSetpoint(const ProcessModel& process) {
  const Entry entry("SetpointChanged", process.setpoint(), {"setpoint", ""}, kOperator);
  // An empty icon: the entry gets the default icon of an audit trail.
  log(TAVROLINE_NEUTRAL, "", entry,
      {TAVROLINE_AUDIT_TRAIL, process.time(), english("Setpoint changed", process.setpoint()),
       IecText::narrow(IecText::wide(kOperator).data()), true});
}

void EventLogger::log(RTS_IEC_INT state, const char* icon, const Entry& entry, Logged logged) {
  logevent_struct parameters{};
  entry.describe(parameters, logged.type, state, logged.time);
  parameters.psIconType = icon;
  m_functions.logEvent(&parameters);
  m_journal.push_back(std::move(logged));
}
