#include "RequestSlot.h"

#include <utility>

namespace Tavroline {

// Sets m_state to `ticket` and `state` if m_state is `expected`. Otherwise sets `expected` to m_state and
// returns false.
bool RequestSlot::replace(std::uint64_t& expected, Ticket ticket, State state) noexcept {
  return m_state.compare_exchange_strong(expected, word(ticket, state), std::memory_order_acq_rel);
}

RequestSlot::Ticket RequestSlot::claim(bool unread) noexcept {
  std::uint64_t before = m_state.load(std::memory_order_acquire);
  const auto state = static_cast<State>(before % 8);
  const bool hasResult = state == Arrived || state == Failed;
  const Ticket ticket = before / 8 + 1;
  if (!(state == Free || (unread && hasResult)) || !replace(before, ticket, Claimed)) {
    return 0;
  }
  m_reply = QByteArray();
  return ticket;
}

RequestSlot::State RequestSlot::take(Ticket ticket, QByteArray& reply, Cause& cause) noexcept {
  std::uint64_t before = m_state.load(std::memory_order_acquire);
  if (before == word(ticket, Outstanding)) {
    return Outstanding;
  }
  const auto state = static_cast<State>(before % 8);
  if (before / 8 != ticket || !replace(before, ticket, Claimed)) {
    cause = {"the reply was given up for a newer request"};
    return Failed;
  }
  reply = std::exchange(m_reply, QByteArray());
  cause = m_cause;
  m_state.store(word(ticket, Free), std::memory_order_release);
  return state;
}

void RequestSlot::release(Ticket ticket) noexcept {
  std::uint64_t before = word(ticket, Outstanding);
  if (replace(before, ticket, Released) || before / 8 != ticket || !replace(before, ticket, Claimed)) {
    return;
  }
  m_reply = QByteArray();
  m_state.store(word(ticket, Free), std::memory_order_release);
}

bool RequestSlot::isOpen() const {
  const State present = state();
  return present == Outstanding || present == Released;
}

void RequestSlot::arrive(QByteArray&& reply) noexcept {
  m_reply = std::move(reply);
  end(Arrived);
}

void RequestSlot::fail(const char* cause) noexcept {
  m_cause[std::string_view(cause).copy(m_cause.data(), m_cause.size() - 1)] = '\0';
  end(Failed);
}

void RequestSlot::end(State state) noexcept {
  const Ticket ticket = m_state.load(std::memory_order_relaxed) / 8;
  std::uint64_t outstanding = word(ticket, Outstanding);
  if (!replace(outstanding, ticket, state)) {
    m_state.store(word(ticket, Free), std::memory_order_release);  // the task has released the slot
  }
}

}  // namespace Tavroline
