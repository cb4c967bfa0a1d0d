#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Entry.h"
#include "Functions.h"
#include "ProcessModel.h"

/**
 * Logs what happens at the station: an event for each start and stop of the pump, an audit-trail entry for
 * each change of the set-point. Keeps a journal of what it has logged, to compare the list with.
 */
class EventLogger {
 public:
  struct Logged {
    EntryType type;
    std::uint32_t time;
    std::string text;  ///< in English
    std::string user;
    bool byHand;
  };

  /** @param process as it is at the start: only what changes from then on is logged. */
  EventLogger(const Functions& functions, const ProcessModel& process)
      : m_functions(functions), m_pumpRan(process.pumpRuns()), m_setpoint(process.setpoint()) {}

  /** Look at the process once per cycle and log what has changed. */
  void cycle(const ProcessModel& process);

  /** What was logged, the oldest first. */
  const std::vector<Logged>& journal() const { return m_journal; }

 private:
  void logPump(const ProcessModel& process);
  void logSetpoint(const ProcessModel& process);
  void log(EntryState state, const char* icon, const Entry& entry, Logged logged);

  const Functions& m_functions;
  bool m_pumpRan;
  int m_setpoint;
  std::vector<Logged> m_journal;
};
