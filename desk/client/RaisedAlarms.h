#pragma once

#include <map>
#include <string>
#include <vector>

#include "AlarmEdge.h"
#include "BusPointer.h"
#include "Losses.h"

namespace Tavroline {

/**
 * Records the alarms and faults that are on after the last message that the service has confirmed, and the
 * messages that turned them on.
 *
 * A report is a call of ReportAlarms, which names these alarms to the service. The service answers with the
 * missing alarms: the named alarms that are not active at the service. RaiseAlarms then sends the messages of
 * the missing alarms. [hub]
 */
class RaisedAlarms {
 public:
  /** Maximum number of alarms that one report names. More alarms are on only for a short time, because
   * the service stores fewer alarms. If this number of alarms is recorded, another alarm is recorded only if
   * the service has stored it. */
  static constexpr std::size_t kAlarms = 16384;

  /** Maximum size of all recorded messages in bytes. If a message exceeds the rest of this size, only its
   * alarm is recorded: reports name the alarm, but RaiseAlarms cannot send the message. */
  static constexpr std::size_t kBytes = 16U << 20U;

  /** Record an edge. @param stored true if the service has stored the edge; false if the edge was refused or
   * dropped, which makes a report due. @throws std::bad_alloc; nothing has changed then */
  void record(const AlarmEdge& edge, bool stored);

  /** Append the identifiers of the recorded alarms to a call of ReportAlarms, in the order in which the
   * alarms were turned on. */
  void writeIdentifiers(sd_bus_message* call) const;

  /** Read the answer to ReportAlarms. @return false if the answer has an unknown form */
  bool readMissing(sd_bus_message* reply);

  /** Whether the sender must still send messages of missing alarms with RaiseAlarms. */
  bool areMissing() const { return !m_missing.empty(); }

  /** Fill `bytes`, which must be empty, with messages of alarms that the service lacks, at most one batch
   * (MessageFormat::kMaxBatchMessages). These alarms then no longer count as missing. */
  void takeMissing(std::vector<char>& bytes);

  /** Read the answer to RaiseAlarms, which says whether the service had room for all alarms.
   * @return false if the answer has an unknown form */
  bool readFull(sd_bus_message* reply);

  /** Note that the service has ended during ReportAlarms or RaiseAlarms. After the third such end in a row,
   * and after each further one, the next report is due 60 s later. MessageSender meanwhile sends messages. */
  void noteEnd(Clock::time_point now);

  /** Whether the time has passed that record(), readFull() or noteEnd() has set for another report. */
  bool isDue(Clock::time_point now) const { return m_due <= now; }

  /** Whether a report may be sent. No report may be sent before the time that noteEnd() has set. No report
   * may be sent while more than kAlarms alarms are recorded, because the service turns off the alarms that a
   * report does not name. */
  bool mayReport(Clock::time_point now) const;

 private:
  struct Alarm {
    quint64 order;        ///< alarms that were turned on later have higher numbers
    std::string message;  ///< the message that turned the alarm on; empty if it exceeded kBytes
  };

  void repeatLater();

  std::map<std::string, Alarm, std::less<>> m_alarms;  ///< by identifier
  quint64 m_lastOrder = 0;
  std::size_t m_bytes = 0;             ///< size of all recorded messages, in bytes
  std::vector<std::string> m_missing;  ///< identifiers of the missing alarms, in reverse order
  bool m_full = false;                 ///< the service has had no room for an alarm since the last report
  int m_ends = 0;                      ///< how often in a row the service has ended during a report
  Clock::time_point m_due = Clock::time_point::max();  ///< when the next report is due
  Clock::duration m_pause{};                           ///< last pause before a report, see repeatLater()
};

}  // namespace Tavroline
