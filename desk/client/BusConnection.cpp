#include "BusConnection.h"

#include <poll.h>

#include <array>
#include <system_error>
#include <utility>

namespace Tavroline {

namespace {
// Bound of one process() call, so that its caller can check deadlines during a flood of messages too.
constexpr int kMessagesPerTurn = 256;
// Callers of call() check the deadlines of replies themselves.
constexpr std::uint64_t kNoTimeout = UINT64_MAX;

void check(int result) {
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "nothing more can be sent");
  }
}

}  // namespace

int BusConnection::open() {
  const int result = sd_bus_open_system(&m_bus);
  if (result < 0) {
    m_bus = nullptr;
  }
  return result < 0 ? result : 0;
}

void BusConnection::close() {
  m_bus = sd_bus_close_unref(m_bus);
  m_thrown = nullptr;
}

int BusConnection::process() {
  int result = 1;
  for (int handled = 0; result > 0 && handled < kMessagesPerTurn; ++handled) {
    result = sd_bus_process(m_bus, nullptr);
    if (m_thrown != nullptr) {
      std::rethrow_exception(std::exchange(m_thrown, nullptr));
    }
  }
  return result < 0 ? result : 0;
}

void BusConnection::wait(int wakeFd, std::chrono::milliseconds time) const {
  const int busFd = m_bus == nullptr ? -1 : sd_bus_get_fd(m_bus);
  const int events = busFd < 0 ? 0 : sd_bus_get_events(m_bus);
  // poll() ignores negative descriptors
  std::array<pollfd, 2> descriptors{
      {{wakeFd, POLLIN, 0}, {busFd, static_cast<short>(events < 0 ? 0 : events), 0}}};
  poll(descriptors.data(), descriptors.size(), static_cast<int>(time.count()));
}

std::unique_ptr<BusSlot> BusConnection::call(sd_bus_message* message, BusSlot::Handler handler) {
  auto slot = std::make_unique<BusSlot>(*this, std::move(handler));
  check(sd_bus_call_async(m_bus, &slot->m_slot, message, dispatch, slot.get(), kNoTimeout));
  return slot;
}

void BusConnection::send(sd_bus_message* message) {
  check(sd_bus_send(m_bus, message, nullptr));
}

std::unique_ptr<BusSlot> BusConnection::match(const char* rule, BusSlot::Handler handler) {
  auto slot = std::make_unique<BusSlot>(*this, std::move(handler));
  check(sd_bus_add_match_async(m_bus, &slot->m_slot, rule, dispatch, nullptr, slot.get()));
  return slot;
}

int BusConnection::dispatch(sd_bus_message* message, void* slot, sd_bus_error* /*error*/) {
  BusConnection& connection = static_cast<BusSlot*>(slot)->m_connection;
  try {
    // a copy, because the handler may destroy its own slot
    const BusSlot::Handler handler = static_cast<BusSlot*>(slot)->m_handler;
    handler(message);
  } catch (...) {
    connection.m_thrown = std::current_exception();
  }
  return 0;
}

}  // namespace Tavroline
