#include "PumpStation.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>

#include "Tables.h"

namespace {

constexpr int kDeadlineCycles = 500;
constexpr std::uint32_t kSecondsPerDay = 86400;

// Entries beyond the journal: alarm and fault are each turned on and off, and each is acknowledged together
// with the detector.
constexpr std::size_t kAlarmEdges = 4;
constexpr std::size_t kAcknowledgements = 4;

bool matches(const stEventlistEntryType& entry, const EventLogger::Logged& logged) {
  return entry.iEventType == logged.type && entry.dtTimestamp == logged.time &&
         entry.sModuleName == std::string(kModule) && IecText::narrow(entry.wsDescription) == logged.text &&
         IecText::narrow(entry.wsUser) == logged.user;
}

/** The list shows the newest first, the journal the oldest. */
bool sameOrder(const std::vector<stEventlistEntryType>& list,
               const std::vector<EventLogger::Logged>& journal) {
  return list.size() == journal.size() && std::equal(list.rbegin(), list.rend(), journal.begin(), matches);
}

template <typename Condition>
std::vector<EventLogger::Logged> where(const std::vector<EventLogger::Logged>& journal,
                                       const Condition& condition) {
  std::vector<EventLogger::Logged> result;
  std::copy_if(journal.begin(), journal.end(), std::back_inserter(result), condition);
  return result;
}

}  // namespace

PumpStation::PumpStation(const Functions& functions)
    : m_process(static_cast<std::uint32_t>(std::time(nullptr)) - kSecondsPerDay),
      m_logger(functions, m_process),
      m_alarms(functions),
      m_events(functions),
      m_alarmList(functions) {
  for (const auto& part : {pumpSteps(), alarmSteps(), faultSteps(), readingSteps()}) {
    m_steps.insert(m_steps.end(), part.begin(), part.end());
  }
}

PumpStation::Outcome PumpStation::cycle() {
  m_process.step();
  m_logger.cycle(m_process);
  m_alarms.cycle(m_process);

  if (m_steps[m_step].done()) {
    ++m_step;
    m_cyclesInStep = 0;
  } else if (++m_cyclesInStep > kDeadlineCycles) {
    check(false, std::string("not reached: ") + m_steps[m_step].name);
  }
  if (!m_good) {
    return Outcome::Bad;
  }
  return m_step == m_steps.size() ? Outcome::Good : Outcome::Running;
}

std::vector<PumpStation::Step> PumpStation::pumpSteps() {
  return {
      {"the pump has run twice",
       [this] {
         if (m_logger.journal().size() < 4) {
           return false;
         }
         m_process.setSetpoint(40);
         return true;
       }},
      {"the list has changed", [this] { return m_events.takeChanged(); }},
  };
}

std::vector<PumpStation::Step> PumpStation::alarmSteps() {
  return {
      {"the storm raises the alarm and the detector",
       [this] {
         m_process.setInflow(12);
         const AlarmReader::Summary summary = m_alarmList.summary();
         if (!summary.activeAlarm || !summary.detector) {
           return false;
         }
         Tables::print("Storm: summary of the alarm list", summary);
         return true;
       }},
      {"the raised alarm is acknowledged", [this] { return acknowledgedRaisedAlarm(); }},
      {"the service knows the alarm as acknowledged",
       [this] {
         bool active = false;
         bool acknowledged = false;
         return m_alarms.levelHighState(active, acknowledged) == TAVROLINE_DONE && active && acknowledged &&
                !m_alarmList.summary().detector;
       }},
      {"the acknowledged alarm is seen",
       [this] {
         if (!loadedAlarms()) {
           return false;
         }
         const auto acknowledged = m_alarmList.entries(std::nullopt, true);
         Tables::print("Alarm list: acknowledged", acknowledged);
         check(acknowledged.size() == 1 && m_alarmList.entries(std::nullopt, false).empty(),
               "the alarm has moved from not acknowledged to acknowledged");
         m_process.setInflow(0);
         return true;
       }},
      {"the cleared alarm has left the list",
       [this] { return !m_alarmList.summary().alarm && !m_process.pumpRuns(); }},
  };
}

std::vector<PumpStation::Step> PumpStation::faultSteps() {
  return {
      {"the pump runs dry",
       [this] {
         m_process.setPumpByHand(true);
         const AlarmReader::Summary summary = m_alarmList.summary();
         if (!summary.activeFault || !summary.detector) {
           return false;
         }
         Tables::print("Dry run: summary of the alarm list", summary);
         // The handle is closed while its fault is on: the component sends the "off".
         m_alarms.closeDryRun();
         m_process.setPumpByHand(false);
         return true;
       }},
      {"closing the handle has cleared the fault", [this] { return !m_alarmList.summary().activeFault; }},
      {"the cleared fault is acknowledged", [this] { return acknowledgedClearedFault(); }},
      {"the fault has left the list",
       [this] { return !m_alarmList.summary().fault && !m_alarmList.summary().detector; }},
      {"the alarm list is empty",
       [this] {
         if (!loadedAlarms()) {
           return false;
         }
         Tables::print("Alarm list at the end", m_alarmList.entries());
         check(m_alarmList.entries().empty(), "the alarm list is empty at the end");
         return true;
       }},
  };
}

bool PumpStation::acknowledgedRaisedAlarm() {
  if (!loadedAlarms()) {
    return false;
  }
  const auto open = m_alarmList.entries(true, false);
  Tables::print("Alarm list: active and not acknowledged", open);
  check(open.size() == 1 && open[0].iEventType == TAVROLINE_ALARM, "the alarm list shows the raised alarm");
  acknowledge(open);
  return true;
}

bool PumpStation::acknowledgedClearedFault() {
  if (!loadedAlarms()) {
    return false;
  }
  const auto inactive = m_alarmList.entries(false);
  Tables::print("Alarm list: inactive", inactive);
  check(
      inactive.size() == 1 && inactive[0].iEventType == TAVROLINE_FAULT && m_alarmList.entries(true).empty(),
      "the fault is inactive, not acknowledged, and the only entry");
  acknowledge(inactive);
  return true;
}

void PumpStation::acknowledge(const std::vector<stAlarmlistEntryType>& entries) {
  if (!entries.empty()) {
    m_alarms.acknowledge(entries[0]);
  }
  m_alarms.acknowledgeDetector();
}

std::vector<PumpStation::Step> PumpStation::readingSteps() {
  return {
      {"the event list is loaded in German",
       [this] {
         if (!loadedEvents("de")) {
           return false;
         }
         const auto list = m_events.entries();
         check(!list.empty() &&
                   IecText::narrow(list.back().wsDescription).find("Pumpe gestartet") != std::string::npos,
               "the oldest entry is in German");
         return true;
       }},
      {"the event list is loaded in English",
       [this] {
         if (!loadedEvents("en")) {
           return false;
         }
         checkFullList();
         checkFilters();
         return true;
       }},
  };
}

void PumpStation::checkFullList() {
  const auto list = m_events.entries();
  Tables::print("Event list", list);
  check(list.size() == m_logger.journal().size() + kAlarmEdges + kAcknowledgements,
        "the event list holds what was logged, the edges of alarm and fault, and the acknowledgements");
  m_events.includeKeyword("pump");
  m_events.includeKeyword("setpoint");
  check(sameOrder(m_events.entries(), m_logger.journal()),
        "every entry logged is there, in its order and with its fields");
  m_events.resetFilters();
}

void PumpStation::checkFilters() {
  const auto& journal = m_logger.journal();

  m_events.filterType(TAVROLINE_AUDIT_TRAIL);
  const auto audit = m_events.entries();
  Tables::print("Event list, audit trail only", audit);
  check(audit.size() == 1 + kAcknowledgements &&
            matches(audit.back(),
                    *std::find_if(journal.begin(), journal.end(),
                                  [](const auto& logged) { return logged.type == TAVROLINE_AUDIT_TRAIL; })),
        "the audit trail holds the set-point and the acknowledgements");

  m_events.resetFilters();
  m_events.includeKeyword("pump");
  m_events.excludeKeyword("hand");
  const auto automatic = m_events.entries();
  Tables::print("Event list, keyword pump but not hand", automatic);
  check(sameOrder(automatic,
                  where(journal,
                        [](const auto& logged) { return logged.type == TAVROLINE_EVENT && !logged.byHand; })),
        "the keywords select the automatic starts and stops");

  m_events.resetFilters();
  const std::uint32_t from = journal[0].time;
  const std::uint32_t to = journal[2].time;
  m_events.filterTime(from, to);
  const auto range = m_events.entries();
  Tables::print("Event list, from the first to the second start of the pump", range);
  check(sameOrder(range, where(journal,
                               [&](const auto& logged) { return logged.time >= from && logged.time <= to; })),
        "the time range selects the entries in it, its bounds included");
  m_events.resetFilters();
}

bool PumpStation::loadedEvents(const char* language) {
  const RTS_IEC_INT result = m_events.load(language);
  if (result == TAVROLINE_ERROR) {
    check(false, "loading the event list");
  }
  return result == TAVROLINE_DONE;
}

bool PumpStation::loadedAlarms() {
  const RTS_IEC_INT result = m_alarmList.load();
  if (result == TAVROLINE_ERROR) {
    check(false, "loading the alarm list");
  }
  return result == TAVROLINE_DONE;
}

void PumpStation::check(bool condition, const std::string& what) {
  std::printf("\n%s: %s\n", condition ? "ok" : "WRONG", what.c_str());
  std::fflush(stdout);
  m_good = m_good && condition;
}
