#pragma once

#include <systemd/sd-bus.h>

#include <list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "AlarmEdge.h"
#include "Losses.h"

namespace Tavroline {

/**
 * The alarms and faults that are on after the last confirmed message, with the edges (AlarmEdge) that turned
 * them on.
 *
 * A report is a call of ReportAlarms, which names these alarms to the service. Its answer names the missing
 * alarms: those that are not active at the service. RaiseAlarms then sends the messages of the missing
 * alarms. [hub]
 */
class RaisedAlarms {
 public:
  /** Maximum number of alarms that one report names. More can be on only for a short time, because the list
   * service stores fewer. Refused alarms beyond this number are not recorded. */
  static constexpr std::size_t kAlarms = 16384;

  /** Maximum size of all recorded messages in bytes. An alarm whose message exceeds it is recorded without
   * the message: reports name it, but RaiseAlarms cannot send it. */
  static constexpr std::size_t kBytes = 16U << 20U;

  /** Record an edge that was stored, refused or dropped. If it was not stored, a report becomes due.
   * @param stored whether the service has stored the edge
   * @throws std::bad_alloc with nothing changed */
  void record(const AlarmEdge& edge, bool stored);

  /** Append the identifiers to ReportAlarms, in the order in which the alarms were turned on. */
  void writeIdentifiers(sd_bus_message* call) const;

  /** Read the answer to ReportAlarms. @return false if it has an unknown form */
  bool readMissing(sd_bus_message* reply);

  /** Whether RaiseAlarms must still send missing alarms. */
  bool areMissing() const { return !m_missing.empty(); }

  /** Write the messages of missing alarms, at most one batch (MessageFormat.h), to `bytes`, which must be
   * empty. These alarms are then no longer missing. */
  void takeMissing(std::vector<char>& bytes);

  /** Read the answer to RaiseAlarms. @return false if it has an unknown form */
  bool readFull(sd_bus_message* reply);

  /** Note that the service has ended during ReportAlarms or RaiseAlarms. From the third time in a row on, the
   * next report is due 60 s later, and MessageSender sends messages without waiting for it. */
  void noteEnd(Clock::time_point now);

  /** Whether another report is due, see record(), readFull() and noteEnd(). */
  bool isDue(Clock::time_point now) const { return m_due <= now; }

  /** Whether a report may be sent: noteEnd() has not postponed it, and it can name all alarms. The service
   * turns off the alarms that a report does not name. */
  bool mayReport(Clock::time_point now) const;

 private:
  struct Alarm {
    std::string alarmId;
    std::string message;  ///< see AlarmEdge::message; empty if kBytes was exceeded
  };

  void add(const AlarmEdge& edge);
  void repeatLater();

  std::list<Alarm> m_alarms;
  std::map<std::string_view, std::list<Alarm>::iterator> m_index;  ///< the keys point into m_alarms
  std::size_t m_bytes = 0;                                         ///< size of all messages
  std::vector<std::string> m_missing;                              ///< identifiers, the next one last
  bool m_full = false;  ///< the service had no room for an alarm since the last report
  int m_ends = 0;       ///< see noteEnd()
  Clock::time_point m_due = Clock::time_point::max();
  Clock::duration m_pause{};
};

}  // namespace Tavroline
