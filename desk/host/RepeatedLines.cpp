#include "RepeatedLines.h"

#include <algorithm>

void RepeatedLines::add(const std::string& line, Clock::time_point now) {
  while (!m_lines.empty() && now - m_lines.front().written >= kInterval) {
    removeOldest();
  }
  const auto known =
      std::find_if(m_lines.begin(), m_lines.end(), [&line](const Line& other) { return other.text == line; });
  if (known != m_lines.end()) {
    ++known->repeated;
    return;
  }
  if (m_lines.size() == kLines) {
    removeOldest();
  }
  m_lines.push_back({line, now});
  m_write(line);
}

void RepeatedLines::end() {
  while (!m_lines.empty()) {
    removeOldest();
  }
}

void RepeatedLines::removeOldest() {
  if (const Line& oldest = m_lines.front(); oldest.repeated > 0) {
    m_write(oldest.text + " ... " + std::to_string(oldest.repeated) +
            (oldest.repeated == 1 ? " time more" : " times more"));
  }
  m_lines.pop_front();
}
