#include "AlarmStation.h"

namespace {

constexpr std::u16string_view kShiftLeader = u"Ağca Yıldız";

TavrolineHandle open(const Functions& functions) {
  openalarmlistwritehandle_struct parameters{};
  functions.openAlarmWrite(&parameters);
  return parameters.hWriteHandle;
}

}  // namespace

AlarmStation::AlarmStation(const Functions& functions)
    : m_functions(functions), m_levelHigh(open(functions)), m_dryRun(open(functions)) {}

AlarmStation::~AlarmStation() {
  close(m_levelHigh);
  close(m_dryRun);
}

void AlarmStation::cycle(const ProcessModel& process) {
  report(m_levelHigh, TAVROLINE_ALARM, process.levelHigh(), "LevelHigh", process);
  if (m_dryRun != nullptr) {
    report(m_dryRun, TAVROLINE_FAULT, process.dryRun(), "DryRun", process);
  }
}

void AlarmStation::closeDryRun() {
  close(m_dryRun);
}

RTS_IEC_INT AlarmStation::levelHighState(bool& active, bool& acknowledged) {
  RTS_IEC_BOOL isActive = 0;
  RTS_IEC_BOOL isAcknowledged = 0;
  getalarmstatefromalarmhandler_struct step{m_levelHigh, &isActive, &isAcknowledged, TAVROLINE_ERROR};
  m_functions.getAlarmState(&step);
  active = isActive != 0;
  acknowledged = isAcknowledged != 0;
  return step.iResult;
}

void AlarmStation::acknowledge(const stAlarmlistEntryType& entry) {
  const IecText::WString user = IecText::wide(kShiftLeader);
  acknowledgevisualalarm_struct parameters{sizeof entry.sAlarmID, user.data(), entry.sAlarmID, {0, 0}};
  m_functions.acknowledgeAlarms(&parameters);
}

void AlarmStation::acknowledgeDetector() {
  const IecText::WString user = IecText::wide(kShiftLeader);
  acknowledgecentraldetector_struct parameters{user.data()};
  m_functions.acknowledgeDetector(&parameters);
}

void AlarmStation::report(TavrolineHandle handle, RTS_IEC_INT type, bool on, const char* text,
                          const ProcessModel& process) {
  const Entry entry(text, process.level(), {"alarm", "automatic"}, u"");
  logalarm_struct parameters{};
  entry.describe(parameters, type, on ? TAVROLINE_ON : TAVROLINE_OFF, process.time());
  parameters.hWriteHandle = handle;
  parameters.psIconType = "";
  m_functions.logAlarm(&parameters);
}

void AlarmStation::close(TavrolineHandle& handle) {
  if (handle == nullptr) {
    return;
  }
  closealarmlistwritehandle_struct parameters{handle};
  m_functions.closeAlarmWrite(&parameters);
  handle = parameters.hWriteHandle;
}
