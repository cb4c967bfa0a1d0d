#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "AlarmReader.h"
#include "AlarmStation.h"
#include "EventLogger.h"
#include "EventReader.h"
#include "Functions.h"
#include "ProcessModel.h"

/**
 * A scenario in steps: the pump runs, a storm raises the alarm, the operator acknowledges it, the pump runs
 * dry and raises the fault, both lists are read. The present step is tried once per cycle until it is done;
 * nothing waits. The outcome is bad if a step is not done in time or a list does not hold what it must.
 */
class PumpStation {
 public:
  enum class Outcome { Running, Good, Bad };

  explicit PumpStation(const Functions& functions);

  /** One cycle of the PLC task. */
  Outcome cycle();

 private:
  struct Step {
    const char* name;
    std::function<bool()> done;
  };

  std::vector<Step> pumpSteps();
  std::vector<Step> alarmSteps();
  std::vector<Step> faultSteps();
  std::vector<Step> readingSteps();

  bool loadedEvents(const char* language);
  bool loadedAlarms();
  bool acknowledgedRaisedAlarm();
  bool acknowledgedClearedFault();
  /** Acknowledges the first entry, if there is one, and the detector. */
  void acknowledge(const std::vector<stAlarmlistEntryType>& entries);
  void checkFullList();
  void checkFilters();
  void check(bool condition, const std::string& what);

  ProcessModel m_process;
  EventLogger m_logger;
  AlarmStation m_alarms;
  EventReader m_events;
  AlarmReader m_alarmList;

  std::vector<Step> m_steps;
  std::size_t m_step = 0;
  int m_cyclesInStep = 0;
  bool m_good = true;
};
