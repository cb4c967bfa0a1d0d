#include "AlarmReader.h"

namespace {

constexpr RTS_IEC_DINT kMaxEntries = 100;

/** Query one flag: the structures of all these functions are a handle and a BOOL. */
template <typename Structure>
bool query(void (*function)(Structure*), TavrolineHandle handle, RTS_IEC_BOOL Structure::*flag) {
  Structure parameters{};
  parameters.hReadHandle = handle;
  function(&parameters);
  return parameters.*flag != 0;
}

}  // namespace

AlarmReader::AlarmReader(const Functions& functions) : m_functions(functions) {
  openalarmlistreadhandle_struct open{};
  m_functions.openAlarmRead(&open);
  m_handle = open.hReadHandle;
}

AlarmReader::~AlarmReader() {
  closealarmlistreadhandle_struct close{m_handle};
  m_functions.closeAlarmRead(&close);
}

AlarmReader::Summary AlarmReader::summary() const {
  const Functions& f = m_functions;
  return {
      query(f.alarmInList, m_handle, &isalarminalarmlist_struct::xAlarmInAlarmlist),
      query(f.activeAlarmInList, m_handle, &isactivealarminalarmlist_struct::xActiveAlarmInAlarmlist),
      query(f.faultInList, m_handle, &isfaultinalarmlist_struct::xFaultInAlarmlist),
      query(f.activeFaultInList, m_handle, &isactivefaultinalarmlist_struct::xActiveFaultInAlarmlist),
      query(f.detectorState, m_handle, &getcentraldetectorstate_struct::xCentralDetectorState),
  };
}

RTS_IEC_INT AlarmReader::load() {
  loadcompletealarmlist_struct step{m_handle, TAVROLINE_ERROR};
  m_functions.loadAlarms(&step);
  return step.iResult;
}

std::vector<stAlarmlistEntryType> AlarmReader::entries(std::optional<bool> active,
                                                       std::optional<bool> acknowledged) {
  resetfilterstatealarm_struct anyState{m_handle};
  m_functions.resetFilterAlarm(&anyState);
  m_functions.resetFilterAcknowledge(&anyState);
  if (active) {
    setfilterstatealarm_struct filter{m_handle, static_cast<RTS_IEC_BOOL>(*active)};
    m_functions.setFilterAlarm(&filter);
  }
  if (acknowledged) {
    setfilterstateacknowledge_struct filter{m_handle, static_cast<RTS_IEC_BOOL>(*acknowledged)};
    m_functions.setFilterAcknowledge(&filter);
  }
  std::vector<stAlarmlistEntryType> array(kMaxEntries);
  stGetAlarmlistEntriesType request{m_handle, array.data(), kMaxEntries, TAVROLINE_ERROR, 0};
  getalarmlistentries_struct get{&request};
  m_functions.getAlarms(&get);
  array.resize(static_cast<std::size_t>(request.diNumberOfEntries));
  return array;
}
