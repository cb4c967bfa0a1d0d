#include "AlarmRoom.h"

#include <iterator>

namespace Tavroline {

bool AlarmRoom::admit(std::list<Message>& edge, std::list<Message>& superseded) {
  const QString& alarmId = edge.front().alarmId;
  auto alarm = m_alarms.find(alarmId);
  if (alarm == m_alarms.end()) {
    if (m_alarms.size() >= kAlarms) {
      return false;
    }
    m_alarms.emplace(alarmId, Kept{edge.begin(), edge.begin()});  // the iterators survive the splice
    m_edges.splice(m_edges.end(), edge);
    return true;
  }

  Kept& kept = alarm->second;
  if (kept.first != kept.last) {
    superseded.splice(superseded.end(), m_edges, kept.last);
    kept.last = kept.first;
    if (edge.front().turnsOn() == kept.first->turnsOn()) {
      superseded.splice(superseded.end(), edge);
      return true;
    }
  }
  kept.last = edge.begin();
  m_edges.splice(m_edges.end(), edge);
  return true;
}

const Message* AlarmRoom::last(const QString& alarmId) const {
  const auto alarm = m_alarms.find(alarmId);
  return alarm == m_alarms.end() ? nullptr : &*alarm->second.last;
}

void AlarmRoom::moveFirst(std::list<Message>& target, std::list<Message>::iterator before) {
  const auto alarm = m_alarms.find(m_edges.front().alarmId);
  if (alarm->second.first == alarm->second.last) {
    m_alarms.erase(alarm);
  } else {
    alarm->second.first = alarm->second.last;
  }
  target.splice(before, m_edges, m_edges.begin());
}

}  // namespace Tavroline
