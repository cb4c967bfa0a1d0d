#include "FailedMessages.h"

#include <algorithm>
#include <iterator>
#include <new>

bool FailedMessages::admit(const Sender& sender) {
  const auto failed = m_failed.find(sender.connection);
  if (failed != m_failed.end() && failed->second < sender.sequence) {
    failed->second = sender.sequence;
    return false;
  }
  m_admitted.emplace_back(sender.connection, sender.sequence);
  if (failed != m_failed.end()) {
    m_failed.erase(failed);
  }
  return true;
}

bool FailedMessages::isRejected(const Sender& sender) const {
  return std::find(m_rejected.begin(), m_rejected.end(), std::pair(sender.session, sender.sequence)) !=
         m_rejected.end();
}

void FailedMessages::reject(const Sender& sender) {
  m_rejected.emplace_back(sender.session, sender.sequence);
  if (m_rejected.size() > kRejected) {
    m_rejected.pop_front();
  }
  m_admitted.pop_back();
}

void FailedMessages::fail() noexcept {
  for (const auto& [connection, sequence] : m_admitted) {
    try {
      const auto failed = m_failed.insert_or_assign(connection, sequence).first;
      if (m_failed.size() > kConnections) {
        m_failed.erase(failed == m_failed.begin() ? std::next(failed) : m_failed.begin());
      }
    } catch (const std::bad_alloc&) {
      // Without this record later messages are stored first, and the failed one then counts as a repetition.
    }
  }
  m_admitted.clear();
}
