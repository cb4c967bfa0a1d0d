#pragma once

#include <map>
#include <string>
#include <vector>

#include "AlarmEdge.h"
#include "BusPointer.h"
#include "Losses.h"

namespace Tavroline {

/**
 * The alarms and faults that are on after the last message that the service has confirmed, with the messages
 * that turned them on.
 *
 * A report is a call of ReportAlarms, which names these alarms to the service. The service answers with the
 * missing alarms: those of the named alarms that are not active at the service. RaiseAlarms then sends the
 * messages of the missing alarms. [hub]
 */
class RaisedAlarms {
 public:
  /** Maximum number of alarms that one report names. More alarms than this are on only for a short time,
   * because the service stores fewer. Alarms beyond this number are recorded only if the service has stored
   * them. */
  static constexpr std::size_t kAlarms = 16384;

  /** Maximum size of all recorded messages in bytes. An alarm whose message exceeds it is recorded without
   * the message: reports name the alarm, but RaiseAlarms cannot send it. */
  static constexpr std::size_t kBytes = 16U << 20U;

  /** Record that an edge was stored, or that it was refused or dropped. In the second case, make a report
   * due. @throws std::bad_alloc with nothing changed */
  void record(const AlarmEdge& edge, bool stored);

  /** Append the identifiers to a call of ReportAlarms, in the order in which the alarms were turned on. */
  void writeIdentifiers(sd_bus_message* call) const;

  /** Read the answer to ReportAlarms. @return false if its form is unknown */
  bool readMissing(sd_bus_message* reply);

  /** Whether RaiseAlarms must still send missing alarms. */
  bool areMissing() const { return !m_missing.empty(); }

  /** Write messages of missing alarms to the empty `bytes`, at most one batch (MessageFormat.h). These alarms
   * then no longer count as missing. */
  void takeMissing(std::vector<char>& bytes);

  /** Read the answer to RaiseAlarms, which says whether the service had room for all alarms.
   * @return false if its form is unknown */
  bool readFull(sd_bus_message* reply);

  /** Note that the service has ended during ReportAlarms or RaiseAlarms. From the third time in a row on, the
   * next report is due 60 s later, and MessageSender sends messages without waiting for the report. */
  void noteEnd(Clock::time_point now);

  /** Whether record(), readFull() or noteEnd() has made another report due. */
  bool isDue(Clock::time_point now) const { return m_due <= now; }

  /** Whether a report may be sent. It may not before the time that noteEnd() has set, nor if more than
   * kAlarms are on: the service would turn off the alarms that the report does not name. */
  bool mayReport(Clock::time_point now) const;

 private:
  struct Alarm {
    quint64 order;        ///< alarms that were turned on later have higher numbers
    std::string message;  ///< the message that turned the alarm on; empty if it exceeded kBytes
  };

  void repeatLater();

  std::map<std::string, Alarm, std::less<>> m_alarms;  ///< by identifier
  quint64 m_lastOrder = 0;
  std::size_t m_bytes = 0;             ///< size of all recorded messages
  std::vector<std::string> m_missing;  ///< identifiers of the missing alarms, in reverse order
  bool m_full = false;                 ///< the service had no room for an alarm since the last report
  int m_ends = 0;                      ///< how often in a row the service has ended during a report
  Clock::time_point m_due = Clock::time_point::max();  ///< when the next report is due
  Clock::duration m_pause{};                           ///< see repeatLater()
};

}  // namespace Tavroline
