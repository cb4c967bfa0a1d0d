#pragma once

#include <string>

#include "PlcProgram.h"
#include "tavroline/tavroline.h"

/**
 * The external functions that this program uses, found by their registered names. The program does not link
 * the component: a name that is not registered is reported by missing().
 */
class Functions {
 public:
  explicit Functions(const PlcRuntime& runtime);

  /** The names that were not found, empty when the program can run. */
  const std::string& missing() const { return m_missing; }

  void (*logEvent)(logevent_struct*);
  void (*logAlarm)(logalarm_struct*);

  void (*openAlarmWrite)(openalarmlistwritehandle_struct*);
  void (*closeAlarmWrite)(closealarmlistwritehandle_struct*);
  void (*getAlarmState)(getalarmstatefromalarmhandler_struct*);
  void (*acknowledgeAlarms)(acknowledgevisualalarm_struct*);
  void (*acknowledgeDetector)(acknowledgecentraldetector_struct*);

  void (*openEventRead)(openeventlistreadhandle_struct*);
  void (*closeEventRead)(closeeventlistreadhandle_struct*);
  void (*loadEvents)(loadcompleteeventlist_struct*);
  void (*getEvents)(geteventlistentries_struct*);

  void (*openAlarmRead)(openalarmlistreadhandle_struct*);
  void (*closeAlarmRead)(closealarmlistreadhandle_struct*);
  void (*loadAlarms)(loadcompletealarmlist_struct*);
  void (*getAlarms)(getalarmlistentries_struct*);
  void (*alarmInList)(isalarminalarmlist_struct*);
  void (*activeAlarmInList)(isactivealarminalarmlist_struct*);
  void (*faultInList)(isfaultinalarmlist_struct*);
  void (*activeFaultInList)(isactivefaultinalarmlist_struct*);
  void (*detectorState)(getcentraldetectorstate_struct*);
  void (*setFilterAlarm)(setfilterstatealarm_struct*);
  void (*setFilterAcknowledge)(setfilterstateacknowledge_struct*);
  void (*resetFilterAlarm)(resetfilterstatealarm_struct*);
  void (*resetFilterAcknowledge)(resetfilterstateacknowledge_struct*);

  void (*setLanguage)(setlistreadlanguage_struct*);
  void (*hasListChanged)(haslistchanged_struct*);
  void (*resetListChanged)(resetlistchanged_struct*);
  void (*addFilterType)(addfiltereventtype_struct*);
  void (*addFilterKeyword)(addfilterkeyword_struct*);
  void (*setFilterTime)(setfiltertime_struct*);
  void (*resetFilters)(resetfilterall_struct*);

 private:
  template <typename Structure>
  void bind(const PlcRuntime& runtime, void (*&function)(Structure*), const char* name);

  std::string m_missing;
};
