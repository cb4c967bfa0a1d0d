#include "Functions.h"

template <typename Structure>
void Functions::bind(const PlcRuntime& runtime, void (*&function)(Structure*), const char* name) {
  function = reinterpret_cast<void (*)(Structure*)>(runtime.findFunction(runtime.context, name));
  if (function == nullptr) {
    m_missing.append(" ").append(name);
  }
}

Functions::Functions(const PlcRuntime& runtime) {
  bind(runtime, logEvent, "logevent_ext");
  bind(runtime, logAlarm, "logalarm_ext");

  bind(runtime, openAlarmWrite, "openalarmlistwritehandle_ext");
  bind(runtime, closeAlarmWrite, "closealarmlistwritehandle_ext");
  bind(runtime, getAlarmState, "getalarmstatefromalarmhandler_ext");
  bind(runtime, acknowledgeAlarms, "acknowledgevisualalarm_ext");
  bind(runtime, acknowledgeDetector, "acknowledgecentraldetector_ext");

  bind(runtime, openEventRead, "openeventlistreadhandle_ext");
  bind(runtime, closeEventRead, "closeeventlistreadhandle_ext");
  bind(runtime, loadEvents, "loadcompleteeventlist_ext");
  bind(runtime, getEvents, "geteventlistentries_ext");

  bind(runtime, openAlarmRead, "openalarmlistreadhandle_ext");
  bind(runtime, closeAlarmRead, "closealarmlistreadhandle_ext");
  bind(runtime, loadAlarms, "loadcompletealarmlist_ext");
  bind(runtime, getAlarms, "getalarmlistentries_ext");
  bind(runtime, alarmInList, "isalarminalarmlist_ext");
  bind(runtime, activeAlarmInList, "isactivealarminalarmlist_ext");
  bind(runtime, faultInList, "isfaultinalarmlist_ext");
  bind(runtime, activeFaultInList, "isactivefaultinalarmlist_ext");
  bind(runtime, detectorState, "getcentraldetectorstate_ext");
  bind(runtime, setFilterAlarm, "setfilterstatealarm_ext");
  bind(runtime, setFilterAcknowledge, "setfilterstateacknowledge_ext");
  bind(runtime, resetFilterAlarm, "resetfilterstatealarm_ext");
  bind(runtime, resetFilterAcknowledge, "resetfilterstateacknowledge_ext");

  bind(runtime, setLanguage, "setlistreadlanguage_ext");
  bind(runtime, hasListChanged, "haslistchanged_ext");
  bind(runtime, resetListChanged, "resetlistchanged_ext");
  bind(runtime, addFilterType, "addfiltereventtype_ext");
  bind(runtime, addFilterKeyword, "addfilterkeyword_ext");
  bind(runtime, setFilterTime, "setfiltertime_ext");
  bind(runtime, resetFilters, "resetfilterall_ext");
}
