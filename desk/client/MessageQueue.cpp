#include "MessageQueue.h"

#include <QDateTime>
#include <algorithm>
#include <mutex>
#include <new>
#include <numeric>
#include <set>
#include <string>

#include "MessageFormat.h"

namespace Tavroline {

namespace {

using Lock = std::lock_guard<PriorityMutex>;

// If the ring is empty and this number of bytes from its first byte on has been used, rewind() lets the ring
// start again at its first byte. While the service keeps up with the client, only these bytes are used, and
// their pages stay in the CPU's cache.
constexpr std::size_t kRewindBytes = 256U << 10U;

// Maximum number of edges that one read() moves from the overflow to the ring.
constexpr int kMovedEdges = 256;

}  // namespace

bool MessageQueue::accept(std::string_view message) noexcept {
  const qint64 now = QDateTime::currentMSecsSinceEpoch();
  const auto edge = AlarmEdge::of(message);
  AlarmOverflow::Nodes used;  // declared before the lock, so that its memory is freed after the unlock
  {
    const Lock lock(m_mutex);
    m_overflow.takeUsed(used);
    if (place(message, now)) {
      return true;
    }
    if (!edge.has_value()) {
      m_losses.add(Loss::QueueFull, 0, now);
      return false;
    }
  }
  try {
    AlarmOverflow::Nodes nodes = AlarmOverflow::copyOf(*edge, now);
    const Lock lock(m_mutex);
    if (place(message, now)) {
      return true;
    }
    const auto superseded = m_overflow.add(nodes);
    if (superseded.has_value()) {
      ++m_accepted;
      m_superseded += static_cast<quint64>(*superseded);
      m_overflows.store(true, std::memory_order_release);
      return true;
    }
    m_losses.add(Loss::QueueFull, 0, now);
  } catch (const std::bad_alloc&) {
    refuse(Loss::NoMemory);
  }
  return false;
}

void MessageQueue::refuse(Loss cause) noexcept {
  const qint64 now = QDateTime::currentMSecsSinceEpoch();
  const Lock lock(m_mutex);
  m_losses.add(cause, 0, now);
}

quint64 MessageQueue::handedOver() const noexcept {
  const Lock lock(m_mutex);
  return m_placed + m_overflow.edges().size();
}

// Appends the message to the ring and counts it as accepted. Returns false if the ring has no room or the
// overflow holds edges. The caller holds the mutex.
bool MessageQueue::place(std::string_view message, qint64 handedOverAt) {
  if (!m_overflow.isEmpty() || !m_ring.fits(message)) {
    return false;
  }
  append(message, handedOverAt);
  ++m_accepted;
  return true;
}

// The caller holds the mutex, and the ring has room for the message.
void MessageQueue::append(std::string_view message, qint64 handedOverAt) {
  m_ring.append(message, handedOverAt);
  ++m_placed;
}

MessageCounters MessageQueue::counters() const noexcept {
  // m_delivered is read first. `accepted` then includes all delivered messages, so `pending` is not negative.
  const quint64 delivered = m_delivered.load(std::memory_order_acquire);
  MessageCounters counters;
  {
    const Lock lock(m_mutex);
    counters.accepted = m_accepted;
    counters.superseded = m_superseded;
    counters.lost = m_losses.counts();
  }
  const auto refusals = counters.lost.begin() + kDropCauses;
  counters.dropped = std::accumulate(counters.lost.begin(), refusals, quint64{0});
  counters.refused = std::accumulate(refusals, counters.lost.end(), quint64{0});
  counters.delivered = delivered;
  counters.pending = counters.accepted - delivered - counters.superseded - counters.dropped;
  return counters;
}

Losses::Gaps MessageQueue::takeGaps(Clock::time_point now, bool all) noexcept {
  const Lock lock(m_mutex);
  return m_losses.takeEnded(now, all);
}

// Only the hub's thread calls the following functions, except dropAll().

bool MessageQueue::hasPending() const {
  return m_ring.first() != m_ring.end() || m_overflows.load(std::memory_order_acquire);
}

MessageQueue::Batch MessageQueue::read(std::vector<char>& bytes, std::size_t maxMessages) {
  moveFromOverflow();
  const std::size_t end = m_ring.end();
  const std::size_t most = std::min(maxMessages, MessageFormat::kMaxBatchMessages);
  bytes.clear();
  Batch batch{m_sent + 1, 0};
  for (; m_unsent != end && static_cast<std::size_t>(batch.count) < most; ++batch.count, ++m_sent) {
    const std::size_t size = m_ring.sizeAt(m_unsent);
    if (batch.count > 0 && bytes.size() + size > MessageFormat::kMaxBatchBytes) {
      break;
    }
    bytes.resize(bytes.size() + size);
    m_ring.copy(m_unsent, bytes.data() + bytes.size() - size);
    m_unsent = m_ring.after(m_unsent);
  }
  if (m_given < m_sent) {
    m_given = m_sent;
    m_fresh = m_unsent;
  }
  return batch;
}

void MessageQueue::moveFromOverflow() {
  for (int i = 0; i < kMovedEdges && m_overflows.load(std::memory_order_relaxed); ++i) {
    const Lock lock(m_mutex);
    const AlarmOverflow::Edge& edge = m_overflow.edges().front();
    if (!m_ring.fits(edge.message)) {
      return;
    }
    append(edge.message, edge.handedOverAt);
    m_overflow.takeFirst();
    m_overflows.store(!m_overflow.isEmpty(), std::memory_order_release);
  }
}

void MessageQueue::goBack() {
  m_sent = m_confirmed;
  m_unsent = m_ring.first();
}

void MessageQueue::confirm(quint64 upTo, const Refused& refused, const OnEdge& onEdge) {
  while (m_confirmed < std::min(upTo, m_given)) {
    const auto refusal = std::find_if(refused.begin(), refused.end(),
                                      [this](const auto& r) { return r.first == m_confirmed + 1; });
    const bool stored = refusal == refused.end();
    const auto edge = AlarmEdge::of(messageAt(m_ring.first()));
    if (edge.has_value() && (stored || !edge->on || refusal->second == ListServiceNames::kRefusedFull)) {
      onEdge(*edge, stored);
    }
    if (stored) {
      m_delivered.store(m_delivered.load(std::memory_order_relaxed) + 1, std::memory_order_release);
      removeFirst();
    } else {
      dropFirst(Loss::Rejected);
    }
  }
  rewind();
}

void MessageQueue::drop(Loss cause, const OnEdge& onEdge) {
  const auto edge = AlarmEdge::of(messageAt(m_ring.first()));
  if (edge.has_value() && !edge->on) {
    onEdge(*edge, false);
  }
  dropFirst(cause);
}

void MessageQueue::dropFirst(Loss cause) {
  {
    const Lock lock(m_mutex);
    m_losses.add(cause, m_confirmed + 1, m_ring.timeAt(m_ring.first()));
  }
  removeFirst();
}

void MessageQueue::removeFirst() {
  ++m_confirmed;
  m_ring.removeFirst();
  if (m_sent < m_confirmed) {  // read() has not returned the message since goBack()
    goBack();
  }
}

void MessageQueue::rewind() {
  if (m_ring.first() < kRewindBytes || m_ring.first() != m_ring.end()) {
    return;
  }
  const Lock lock(m_mutex);
  if (m_ring.rewind()) {
    m_unsent = m_fresh = m_ring.first();
  }
}

void MessageQueue::keepOffEdges() {
  const Lock lock(m_mutex);
  const std::size_t end = m_ring.end();
  std::set<std::string, std::less<>> turnedOff;
  quint64 lastNumber = m_given;
  visitFresh(end, [&](std::string_view message, qint64 /*handedOverAt*/) {
    ++lastNumber;
    const auto edge = AlarmEdge::of(message);
    if (edge.has_value() && !edge->on) {
      turnedOff.emplace(edge->alarmId);
    }
  });

  m_placed = m_given;
  m_ring.removeFrom(m_fresh);
  visitFresh(end, [&, this](std::string_view message, qint64 handedOverAt) {
    const auto edge = AlarmEdge::of(message);
    if (edge.has_value() && turnedOff.find(edge->alarmId) != turnedOff.end() && m_ring.fits(message)) {
      append(message, handedOverAt);
    } else {
      m_losses.add(Loss::Unload, lastNumber--, handedOverAt);
    }
  });
  while (!m_overflow.isEmpty()) {
    m_overflow.takeFirst();
  }
  m_overflows.store(false, std::memory_order_relaxed);
}

// Calls `visit` with each message that read() has never returned, and with the time of its hand-over: the
// messages of the ring before the position `end`, then those of the overflow. `visit` may append messages to
// the ring, because they overwrite only messages that were visited.
template <typename Visit>
void MessageQueue::visitFresh(std::size_t end, Visit visit) {
  for (std::size_t at = m_fresh; at != end;) {
    const std::size_t position = at;
    at = m_ring.after(position);
    const qint64 handedOverAt = m_ring.timeAt(position);
    visit(messageAt(position), handedOverAt);
  }
  for (const AlarmOverflow::Edge& edge : m_overflow.edges()) {
    visit(edge.message, edge.handedOverAt);
  }
}

void MessageQueue::dropAll() noexcept {
  while (m_ring.first() != m_ring.end()) {
    dropFirst(Loss::Unload);
  }
  const Lock lock(m_mutex);
  for (; !m_overflow.isEmpty(); m_overflow.takeFirst()) {
    m_losses.add(Loss::Unload, ++m_placed, m_overflow.edges().front().handedOverAt);
  }
  m_overflows.store(false, std::memory_order_relaxed);
}

// Returns a copy of the message at a position of the ring. The copy is valid until the next call.
std::string_view MessageQueue::messageAt(std::size_t position) {
  m_copy.resize(m_ring.sizeAt(position));
  m_ring.copy(position, m_copy.data());
  return {m_copy.data(), m_copy.size()};
}

}  // namespace Tavroline
