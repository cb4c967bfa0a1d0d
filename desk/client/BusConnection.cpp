#include "BusConnection.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <QString>
#include <algorithm>
#include <array>
#include <utility>

namespace Tavroline {

namespace {
// Maximum number of steps of one process(). It is bounded so that the caller can check deadlines.
constexpr int kStepsPerTurn = 256;
constexpr std::chrono::seconds kAnswerDeadline{30};
constexpr std::uint64_t kNoTimeout = UINT64_MAX;  // isAnswered() checks the deadlines, not sd-bus
constexpr int kMaximumErrorText = 200;
}  // namespace

bool isError(sd_bus_message* reply, const char* name) {
  return sd_bus_message_is_method_error(reply, name) > 0;
}

QByteArray errorText(sd_bus_message* reply) {
  const sd_bus_error* error = sd_bus_message_get_error(reply);
  const QString text =
      QString::fromUtf8(error->name) + QLatin1String(": ") + QString::fromUtf8(error->message);
  return text.simplified().left(kMaximumErrorText).toUtf8();
}

BusSlot::BusSlot(BusConnection& connection, Handler handler, Time deadline)
    : m_connection(connection),
      m_handler(std::move(handler)),
      m_deadline(connection.m_deadlines.insert(connection.m_deadlines.end(), deadline)) {}

BusSlot::~BusSlot() {
  m_connection.m_deadlines.erase(m_deadline);
}

int BusConnection::open() {
  sd_bus* bus = nullptr;
  const int result = sd_bus_open_system(&bus);
  if (result < 0) {
    return result;
  }
  m_bus.reset(bus);
  return 0;
}

void BusConnection::close() {
  m_bus.reset();
  m_isQuiet = false;
  m_thrown = nullptr;
}

bool BusConnection::hasUnwritten() const {
  std::uint64_t messages = 0;
  return isReady() && sd_bus_get_n_queued_write(m_bus.get(), &messages) >= 0 && messages > 0;
}

bool BusConnection::isAnswered(BusSlot::Time now) const {
  return std::all_of(m_deadlines.begin(), m_deadlines.end(), [now](auto deadline) { return deadline > now; });
}

int BusConnection::process() {
  if (std::exchange(m_isQuiet, false)) {
    return 0;
  }
  int result = 1;
  int handled = 0;
  while (result > 0 && handled < kStepsPerTurn) {
    result = sd_bus_process(m_bus.get(), nullptr);
    if (m_thrown != nullptr) {
      std::rethrow_exception(std::exchange(m_thrown, nullptr));
    }
    handled += result > 0 ? 1 : 0;
  }
  return result < 0 ? result : handled;
}

bool BusConnection::wait(int wakeFd, bool bus, std::chrono::milliseconds time) {
  const int busFd = isOpen() && bus ? sd_bus_get_fd(m_bus.get()) : -1;
  const int events = busFd < 0 ? 0 : sd_bus_get_events(m_bus.get());
  // poll() ignores negative descriptors
  std::array<pollfd, 2> descriptors{
      {{wakeFd, POLLIN, 0}, {busFd, static_cast<short>(events < 0 ? 0 : events), 0}}};
  const int reported = poll(descriptors.data(), descriptors.size(), static_cast<int>(time.count()));
  if (reported > 0 && (descriptors[0].revents & POLLIN) != 0) {
    eventfd_t count = 0;
    eventfd_read(wakeFd, &count);
  }
  // sd-bus has nothing to do if its socket is not ready and it has set no timeout. The next process() then
  // does not call sd-bus. This reduces the load of the idle thread from 0.05 to 0.03 % of a core.
  std::uint64_t due = 0;
  m_isQuiet = reported == 0 && events > 0 && sd_bus_get_timeout(m_bus.get(), &due) >= 0 && due == UINT64_MAX;
  return reported > 0;
}

std::unique_ptr<BusSlot> BusConnection::call(const BusMessage& message, BusSlot::Handler handler) {
  const auto deadline = std::chrono::steady_clock::now() + kAnswerDeadline;
  auto owner = std::make_unique<BusSlot>(*this, std::move(handler), deadline);
  sd_bus_slot* slot = nullptr;
  checkBus(sd_bus_call_async(m_bus.get(), &slot, message.get(), dispatch, owner.get(), kNoTimeout));
  owner->m_slot.reset(slot);
  return owner;
}

void BusConnection::send(const BusMessage& message) {
  checkBus(sd_bus_message_set_expect_reply(message.get(), 0));
  checkBus(sd_bus_send(m_bus.get(), message.get(), nullptr));
}

std::unique_ptr<BusSlot> BusConnection::match(const char* rule, BusSlot::Handler handler) {
  auto owner = std::make_unique<BusSlot>(*this, std::move(handler), BusSlot::Time::max());
  sd_bus_slot* slot = nullptr;
  checkBus(sd_bus_add_match_async(m_bus.get(), &slot, rule, dispatch, nullptr, owner.get()));
  owner->m_slot.reset(slot);
  return owner;
}

int BusConnection::dispatch(sd_bus_message* message, void* slot, sd_bus_error* /*error*/) {
  BusConnection& connection = static_cast<BusSlot*>(slot)->m_connection;
  try {
    // a copy, because the handler may destroy the BusSlot that holds it
    const BusSlot::Handler handler = static_cast<BusSlot*>(slot)->m_handler;
    handler(message);
  } catch (...) {
    connection.m_thrown = std::current_exception();
  }
  return 0;
}

}  // namespace Tavroline
