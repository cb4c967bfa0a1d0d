#include "AlarmOverflow.h"

namespace Tavroline {

AlarmOverflow::Nodes AlarmOverflow::copyOf(const AlarmEdge& edge, qint64 handedOverAt) {
  Nodes nodes;
  nodes.m_edges.push_back({std::string(edge.alarmId), std::string(edge.message), handedOverAt, edge.on});
  const auto only = nodes.m_edges.begin();
  nodes.m_alarms.emplace(only->alarmId, Nodes::Kept{only, only});
  return nodes;
}

std::optional<int> AlarmOverflow::add(Nodes& edge) {
  const auto added = edge.m_edges.begin();
  const auto alarm = m_alarms.find(added->alarmId);
  if (alarm == m_alarms.end()) {
    if (m_alarms.size() >= kAlarms) {
      return std::nullopt;
    }
    m_alarms.insert(edge.m_alarms.extract(edge.m_alarms.begin()));
    // splice() does not copy the edge, so the iterators in m_alarms stay valid
    m_edges.splice(m_edges.end(), edge.m_edges);
    return 0;
  }

  Nodes::Kept& kept = alarm->second;
  int superseded = 0;
  if (kept.first != kept.last) {
    edge.m_edges.splice(edge.m_edges.end(), m_edges, kept.last);
    kept.last = kept.first;
    superseded = 1;
    if (added->on == kept.first->on) {
      return 2;
    }
  }
  kept.last = added;
  m_edges.splice(m_edges.end(), edge.m_edges, added);
  return superseded;
}

void AlarmOverflow::takeFirst() {
  const auto alarm = m_alarms.find(m_edges.front().alarmId);
  if (alarm->second.first == alarm->second.last) {
    m_used.m_alarms.insert(m_alarms.extract(alarm));
  } else {
    alarm->second.first = alarm->second.last;
  }
  m_used.m_edges.splice(m_used.m_edges.end(), m_edges, m_edges.begin());
}

void AlarmOverflow::takeUsed(Nodes& used) {
  for (int i = 0; i < 2 && !m_used.m_edges.empty(); ++i) {
    used.m_edges.splice(used.m_edges.end(), m_used.m_edges, m_used.m_edges.begin());
    if (!m_used.m_alarms.empty()) {
      used.m_alarms.insert(m_used.m_alarms.extract(m_used.m_alarms.begin()));
    }
  }
}

}  // namespace Tavroline
