#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Entry.h"
#include "Functions.h"
#include "ProcessModel.h"

/**
 * Logs an event for each start and stop of the pump, and an audit-trail entry for each change of the
 * set-point. Keeps a journal of the entries logged; the event list is compared with it.
 */
class EventLogger {
 public:
  struct Logged {
    RTS_IEC_INT type;
    std::uint32_t time;
    std::string text;  ///< in English
    std::string user;
    bool byHand;
  };

  /** @param process its present state; only later changes are logged */
  EventLogger(const Functions& functions, const ProcessModel& process)
      : m_functions(functions), m_pumpRan(process.pumpRuns()), m_setpoint(process.setpoint()) {}

  /** Log the changes of the process since the last call. Once per cycle. */
  void cycle(const ProcessModel& process);

  /** The entries logged, the oldest first. */
  const std::vector<Logged>& journal() const { return m_journal; }

 private:
  void logPump(const ProcessModel& process);
  void logSetpoint(const ProcessModel& process);
  void log(RTS_IEC_INT state, const char* icon, const Entry& entry, Logged logged);

  const Functions& m_functions;
  bool m_pumpRan;
  int m_setpoint;
  std::vector<Logged> m_journal;
};
