#include "RaisedAlarms.h"

#include <algorithm>
#include <new>

namespace Tavroline {

void RaisedAlarms::note(const Message& edge) noexcept {
  if (!edge.turnsOn()) {
    m_alarms.erase(edge.alarmId);
    return;
  }
  if (m_alarms.size() >= kAlarms) {
    return;
  }
  try {
    m_alarms[edge.alarmId] = Raised{edge, false};
  } catch (const std::bad_alloc&) {
    // The edge itself is queued. Only its replay, to a service that has lost its store, will be missing.
  }
}

void RaisedAlarms::settle(const Message& message) {
  const auto alarm = m_alarms.find(message.alarmId);
  if (alarm != m_alarms.end() && alarm->second.message.sequence == message.sequence) {
    alarm->second.settled = true;
  }
}

std::vector<Message> RaisedAlarms::settled() const {
  std::vector<Message> messages;
  for (const auto& alarm : m_alarms) {
    if (alarm.second.settled) {
      messages.push_back(alarm.second.message);
    }
  }
  std::sort(messages.begin(), messages.end(),
            [](const Message& a, const Message& b) { return a.sequence < b.sequence; });
  return messages;
}

}  // namespace Tavroline
