#include "RaisedAlarms.h"

#include <algorithm>

#include "BusPointer.h"
#include "MessageFormat.h"

namespace Tavroline {

namespace {
constexpr std::chrono::seconds kFirstPause{2};
constexpr std::chrono::seconds kLongestPause{60};
constexpr int kEndsToBlame = 3;
}  // namespace

void RaisedAlarms::record(const AlarmEdge& edge, bool stored) {
  const auto known = m_alarms.find(edge.alarmId);
  if (edge.on && known == m_alarms.end() && (stored || m_alarms.size() < kAlarms)) {
    const bool fits = m_bytes + edge.message.size() <= kBytes;
    const std::string_view message = fits ? edge.message : std::string_view();
    m_alarms.emplace(edge.alarmId, Alarm{++m_lastOrder, std::string(message)});
    m_bytes += message.size();
  } else if (!edge.on && known != m_alarms.end()) {
    m_bytes -= known->second.message.size();
    m_alarms.erase(known);
  }
  if (!stored) {
    repeatLater();
  }
}

void RaisedAlarms::writeIdentifiers(sd_bus_message* call) const {
  std::map<quint64, const char*> ordered;
  for (const auto& [alarmId, alarm] : m_alarms) {
    ordered.emplace(alarm.order, alarmId.c_str());
  }
  checkBus(sd_bus_message_open_container(call, 'a', "s"));
  for (const auto& [order, alarmId] : ordered) {
    checkBus(sd_bus_message_append(call, "s", alarmId));
  }
  checkBus(sd_bus_message_close_container(call));
}

bool RaisedAlarms::readMissing(sd_bus_message* reply) {
  m_missing.clear();
  if (sd_bus_message_enter_container(reply, 'a', "s") <= 0) {
    return false;
  }
  for (const char* alarmId = nullptr; sd_bus_message_read(reply, "s", &alarmId) > 0;) {
    const auto alarm = m_alarms.find(alarmId);
    if (alarm != m_alarms.end() && !alarm->second.message.empty() && m_missing.size() < m_alarms.size()) {
      m_missing.emplace_back(alarmId);
    }
  }
  std::reverse(m_missing.begin(), m_missing.end());
  m_due = Clock::time_point::max();
  m_full = false;
  if (m_missing.empty()) {
    m_ends = 0;
    m_pause = {};
  }
  return true;
}

void RaisedAlarms::takeMissing(std::vector<char>& bytes) {
  for (std::size_t count = 0; areMissing() && count < MessageFormat::kMaxBatchMessages;) {
    const auto alarm = m_alarms.find(m_missing.back());
    if (alarm != m_alarms.end()) {
      const std::string& message = alarm->second.message;
      if (count > 0 && bytes.size() + message.size() > MessageFormat::kMaxBatchBytes) {
        break;
      }
      bytes.insert(bytes.end(), message.begin(), message.end());
      ++count;
    }
    m_missing.pop_back();
  }
}

bool RaisedAlarms::readFull(sd_bus_message* reply) {
  quint32 full = 0;
  if (sd_bus_message_read(reply, "u", &full) <= 0) {
    return false;
  }
  m_full = m_full || full > 0;
  if (areMissing()) {
    return true;
  }
  m_ends = 0;
  if (m_full) {
    repeatLater();
  } else {
    m_pause = {};
  }
  return true;
}

void RaisedAlarms::noteEnd(Clock::time_point now) {
  if (++m_ends >= kEndsToBlame) {
    m_due = now + kLongestPause;
  }
}

bool RaisedAlarms::mayReport(Clock::time_point now) const {
  return m_alarms.size() <= kAlarms && (m_ends < kEndsToBlame || isDue(now));
}

// Makes a report due after a pause, unless a report is already due. The pause doubles from 2 s up to 60 s
// until the service has all alarms.
void RaisedAlarms::repeatLater() {
  if (m_due == Clock::time_point::max()) {
    m_pause = std::clamp<Clock::duration>(m_pause * 2, kFirstPause, kLongestPause);
    m_due = Clock::now() + m_pause;
  }
}

}  // namespace Tavroline
