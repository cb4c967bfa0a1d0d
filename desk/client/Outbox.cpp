#include "Outbox.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "PendingReply.h"

namespace Tavroline {

bool Outbox::accept(Message&& message) noexcept {
  std::list<Message> node;
  std::list<Message> superseded;  // freed after the mutex is unlocked
  try {
    node.push_back(std::move(message));
  } catch (const std::bad_alloc&) {
    // allocating the node failed; `message` has not been moved from
  }
  const std::lock_guard<std::mutex> lock(m_mutex);
  const bool stored = !node.empty();
  Message& numbered = stored ? node.front() : message;  // NOLINT(bugprone-use-after-move)
  numbered.sequence = ++m_lastSequence;
  Loss cause = stored ? Loss::QueueFull : Loss::NoMemory;
  try {
    if (stored && place(node, superseded)) {
      ++m_accepted;
      m_superseded += superseded.size();
      return true;
    }
  } catch (const std::bad_alloc&) {
    cause = Loss::NoMemory;
  }
  lose(numbered, cause);
  return false;
}

bool Outbox::place(std::list<Message>& message, std::list<Message>& superseded) {
  const Message& placed = message.front();
  // While the overflow holds an edge of this alarm, later ones join it, so that they can cancel each other
  // out.
  const bool joinsRoom = placed.isEdge() && m_room.last(placed.alarmId) != nullptr;
  if (m_queue.size() < kMessages && !joinsRoom) {
    m_queue.splice(m_queue.end(), message);
    if (m_next == m_queue.end()) {
      m_next = std::prev(m_queue.end());
    }
    if (placed.isEdge()) {
      m_raised.note(placed);
    }
    return true;
  }
  const QString alarmId = placed.alarmId;
  if (alarmId.isEmpty() || !m_room.admit(message, superseded)) {
    return false;
  }
  m_raised.note(*m_room.last(alarmId));
  return true;
}

bool Outbox::accept(const Request& request) {
  std::list<Request> node{request};
  std::list<Request> released = takeRequestsIf([](const Request& r) { return r.reply->isReleased(); });
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto outstanding = std::count_if(m_requests.begin(), m_requests.end(),
                                         [](const Request& r) { return !r.reply->isReleased(); });
  if (outstanding >= kRequests) {
    return false;
  }
  node.front().behind = m_lastSequence;
  m_requests.splice(m_requests.end(), node);
  return true;
}

Books Outbox::books() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return {m_accepted, m_delivered, m_queue.size() + m_room.size(), m_superseded, m_lost};
}

Outbox::Asked Outbox::firstUnsentRequest() {
  return std::find_if(m_requests.begin(), m_requests.end(), [](const Request& r) { return !r.sent; });
}

std::optional<Outbox::Write> Outbox::takeWrite(quint64 before, bool passing) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const bool queued = m_next != m_queue.end();
  const Message* spare = m_room.first();
  const bool fromRoom = spare != nullptr && (!queued || spare->sequence < m_next->sequence);
  if (!queued && !fromRoom) {
    return std::nullopt;
  }

  const quint64 sequence = (fromRoom ? *spare : *m_next).sequence;
  const Asked asked = firstUnsentRequest();
  const bool askedFirst = asked != m_requests.end() && asked->behind < sequence;
  if (sequence >= before || (!passing && askedFirst)) {
    return std::nullopt;
  }
  if (!fromRoom) {
    return m_next++;
  }
  m_room.moveFirst(m_queue, m_next);
  return std::prev(m_next);
}

std::optional<Outbox::Asked> Outbox::takeRequest(bool passing) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const Asked asked = firstUnsentRequest();
  if (asked == m_requests.end()) {
    return std::nullopt;
  }
  const Message* spare = m_room.first();
  const bool queueFirst = m_next != m_queue.end() && m_next->sequence <= asked->behind;
  const bool roomFirst = spare != nullptr && spare->sequence <= asked->behind;
  if (!passing && (queueFirst || roomFirst)) {
    return std::nullopt;
  }
  asked->sent = true;
  return asked;
}

void Outbox::settle(Write write, std::optional<Loss> loss) {
  std::list<Message> settled;  // freed after the mutex is unlocked
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (write->isEdge()) {
    m_raised.settle(*write);
  }
  if (loss.has_value()) {
    lose(*write, *loss);
  } else {
    ++m_delivered;
  }
  settled.splice(settled.begin(), m_queue, write);
}

void Outbox::finish(Asked asked) {
  std::list<Request> finished;  // freed after the mutex is unlocked
  const std::lock_guard<std::mutex> lock(m_mutex);
  finished.splice(finished.begin(), m_requests, asked);
}

void Outbox::takeBack() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_next = m_queue.begin();
}

template <typename Predicate>
std::list<Request> Outbox::takeRequestsIf(Predicate predicate) {
  std::list<Request> taken;
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (Asked asked = m_requests.begin(); asked != m_requests.end();) {
    const Asked candidate = asked++;
    if (!candidate->sent && predicate(*candidate)) {
      taken.splice(taken.end(), m_requests, candidate);
    }
  }
  return taken;
}

std::list<Request> Outbox::takeUnsentRequests() {
  return takeRequestsIf([](const Request&) { return true; });
}

std::list<Request> Outbox::takeEndedRequests(Clock::time_point now) {
  return takeRequestsIf([now](const Request& r) { return r.deadline <= now || r.reply->isReleased(); });
}

std::vector<Message> Outbox::raisedAlarms() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_raised.settled();
}

void Outbox::dropUnsent(bool keepOffEdges) {
  std::list<Message> dropped;  // freed after the mutex is unlocked
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::list<Message> unsent;
  unsent.splice(unsent.end(), m_queue, m_next, m_queue.end());
  while (m_room.first() != nullptr) {
    m_room.moveFirst(unsent, unsent.end());
  }
  unsent.sort([](const Message& a, const Message& b) { return a.sequence < b.sequence; });
  m_next = m_queue.end();
  while (!unsent.empty()) {
    const Message& message = unsent.front();
    if (keepOffEdges && message.isEdge() && !message.turnsOn()) {
      m_queue.splice(m_queue.end(), unsent, unsent.begin());
      if (m_next == m_queue.end()) {
        m_next = std::prev(m_queue.end());
      }
    } else {
      lose(message, Loss::Unload);
      dropped.splice(dropped.end(), unsent, unsent.begin());
    }
  }
}

Outbox::Gaps Outbox::takeGaps(Clock::time_point now, bool all) {
  Gaps ended;
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (std::size_t cause = 0; cause < kLossCauses; ++cause) {
    Gap& gap = m_gaps[cause];
    if (gap.count == 0 || (!all && now - gap.lastLoss < kGapPause)) {
      continue;
    }
    ended.emplace_back(static_cast<Loss>(cause), std::exchange(gap, Gap{}));
  }
  return ended;
}

void Outbox::lose(const Message& message, Loss cause) {
  const auto index = static_cast<std::size_t>(cause);
  ++m_lost[index];
  m_gaps[index].add(message, Clock::now());
}

}  // namespace Tavroline
