#include "SessionExpiry.h"

#include <algorithm>
#include <climits>

namespace {

constexpr std::chrono::seconds kStoragePause{2};  // after a session could not be ended

}  // namespace

SessionExpiry::SessionExpiry(ListService& service, std::chrono::seconds grace)
    : m_service(service), m_grace(grace) {
  for (const QByteArray& session : service.alarms().owners()) {
    begin(session);
  }
}

void SessionExpiry::begin(const QByteArray& session) noexcept {
  if (m_grace.count() == 0 || session.isEmpty()) {
    return;
  }
  try {
    if (m_service.alarms().activeOf(session, 1).isEmpty()) {
      return;
    }
  } catch (const std::exception&) {
    m_service.recover();  // it may have alarms; endSession() looks again
  }
  m_due[session] = Clock::now() + m_grace;
}

void SessionExpiry::endSessions() {
  const auto now = Clock::now();
  for (auto next = m_due.begin(); next != m_due.end();) {
    const auto due = next++;
    if (due->second > now) {
      continue;
    }
    try {
      if (!m_service.endSession(due->first)) {
        m_due.erase(due);
      }
    } catch (const std::exception&) {
      m_service.recover();
      due->second = now + kStoragePause;
    }
  }
}

int SessionExpiry::timeout() const {
  const auto first = std::min_element(m_due.begin(), m_due.end(),
                                      [](const auto& a, const auto& b) { return a.second < b.second; });
  if (first == m_due.end()) {
    return INT_MAX;
  }
  const auto rest = std::chrono::ceil<std::chrono::milliseconds>(first->second - Clock::now());
  return static_cast<int>(std::max<qint64>(rest.count(), 0));
}
