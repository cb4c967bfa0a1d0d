// Each allocation of the client's work fails once, in one process that lives on.
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "BusTest.h"
#include "EventlistHandlerEnums.h"
#include "HostLog.h"
#include "Hub.h"
#include "HubProcess.h"

using namespace Tavroline;

namespace {

constexpr Milliseconds kPatienceOfMovedClock{600000};

std::atomic<long> s_left{0};  ///< the allocation that fails, counted from here; 0 for none
std::atomic<bool> s_isUsed{false}, s_hasFailed{false};

/** Whether an allocation of the hub's thread, or of this one while it uses the hub, fails. */
bool fails() {
  if (s_left.load(std::memory_order_relaxed) <= 0 || !(s_isUsed || gettid() != getpid()) ||
      s_left.fetch_sub(1) != 1) {
    return false;
  }
  s_hasFailed = true;
  errno = ENOMEM;
  return true;
}

template <typename Use>
auto used(Use use) {
  s_isUsed = true;
  auto result = use();
  s_isUsed = false;
  return result;
}

class AllocationTest : public BusTest {
 protected:
  void logEdge(int state) {
    ++handed;
    used([&] {
      return hub->submit([&](MessageWriter& message) {
        message.entry(alarm, state, EventlistHandlerEnums::EventTypeAlarm, 0, alarm, text, {}, {}, {}, {});
      });
    });
  }
  void request(RequestKind kind) {
    const auto reply = used([&] { return hub->request(kind, alarm, 1); });
    ErrorContainer error(0, QString());
    const auto ended = [&] { return reply == nullptr || reply->isFinished(error) != 2; };
    EXPECT_TRUE(eventually(ended, kPatienceOfMovedClock));
  }

  const QString alarm = QStringLiteral("a"), text = QString(5000, QLatin1Char('x'));  // needs memory
  std::optional<Hub> hub;
  quint64 handed = 0;
};

TEST_F(AllocationTest, NoneThatFailsCrashesHangsOrIsUncounted) {
  HostLog::toFile(log);
  s_process.skipsWaits = true;
  startService();
  bool hasFailed = true;
  for (long number = 1; hasFailed && !HasFailure(); ++number) {
    SCOPED_TRACE(number);
    hub.emplace();
    handed = 0;
    s_hasFailed = false;
    s_left = number;
    logEdge(EventlistHandlerEnums::StateOn);
    request(RequestKind::EventList);
    shutdown(s_process.lastSocket, SHUT_RDWR);
    logEdge(EventlistHandlerEnums::StateOff);
    request(RequestKind::AlarmState);
    EXPECT_TRUE(eventually([&] { return hub->counters().pending == 0; }, kPatienceOfMovedClock));
    logEdge(EventlistHandlerEnums::StateOn);
    const MessageCounters counters = hub->counters();
    EXPECT_EQ(counters.accepted + counters.refused, handed);
    EXPECT_EQ(counters.refused, counters.count(Loss::NoMemory));
    EXPECT_EQ(counters.dropped, 0U);
    used([&] { return hub.reset(), true; });
    hasFailed = s_hasFailed;
    s_left = 0;
  }
}

}  // namespace

extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* old, std::size_t size) noexcept;

#define SEEN [[gnu::visibility("default")]]
SEEN void* malloc(std::size_t size) noexcept {
  return fails() ? nullptr : __libc_malloc(size);
}
SEEN void* calloc(std::size_t count, std::size_t size) noexcept {
  return fails() ? nullptr : __libc_calloc(count, size);
}
SEEN void* realloc(void* old, std::size_t size) noexcept {
  return fails() ? nullptr : __libc_realloc(old, size);
}
}
