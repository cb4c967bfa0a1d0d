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
 * A day at the station, told in steps: the pump works, a storm raises the alarm, the operator acknowledges,
 * the pump runs dry and raises the fault, both lists are read. A step is asked once per cycle until it is
 * through; nothing waits. A step that does not get through, and a list that does not hold what it must, make
 * the outcome bad.
 */
class PumpStation {
 public:
  enum class Outcome { kRunning, kGood, kBad };

  explicit PumpStation(const Functions& functions);

  /** One cycle of the PLC task. */
  Outcome cycle();

 private:
  struct Step {
    const char* name;
    std::function<bool()> through;
  };

  std::vector<Step> work();
  std::vector<Step> lifeOfTheAlarm();
  std::vector<Step> lifeOfTheFault();
  std::vector<Step> reading();

  bool loadedEvents(const char* language);
  bool loadedAlarms();
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
