// Logging while the bus is stopped for three seconds: times and system calls of the caller, messages sent and
// lost. One call every 100 µs, nearly twice as many as the queue holds.

#include <sys/syscall.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <thread>

#include "CallWatch.h"
#include "Hub.h"
#include "LogFixture.h"

using namespace Tavroline;

namespace {

constexpr int kBefore = 1000;
constexpr std::chrono::seconds kStop{3};
constexpr std::chrono::microseconds kPace{100};
constexpr double kSlow = 1.0;  // milliseconds

void print(const char* name, double value) {
  std::printf("{\"name\": \"%s\", \"value\": %.3f}\n", name, value);
}

/** The highest resident memory so far, in MiB. */
double peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != "VmHWM:") {
      continue;
    }
    double kibibytes = 0;
    status >> kibibytes;
    return kibibytes / 1024;
  }
  return 0;
}

struct Caller {
  CallWatch watch;
  int calls = 0;
  int slow = 0;
  long locks = 0;
  long growth = 0;
  long others = 0;

  void call(logevent_struct& event) {
    const auto start = Clock::now();
    watch.watch([&event] { logevent_ext(&event); });
    const std::chrono::duration<double, std::milli> time = Clock::now() - start;
    ++calls;
    slow += time.count() > kSlow ? 1 : 0;
    for (std::size_t number = 0; number < CallWatch::kNumbers; ++number) {
      long& kind = number == SYS_futex ? locks : CallWatch::isAllocators(number) ? growth : others;
      kind += watch.systemCalls()[number];
    }
  }
};

}  // namespace

int main() {
  const BusAndService desk;
  LogFixture entry(true);
  logevent_ext(&entry.event);  // the first use starts the client's thread
  desk.waitForStored(1);

  Caller caller;
  for (int i = 0; i < kBefore; ++i) {
    caller.call(entry.event);
  }
  const double memoryBefore = peakMemory();
  desk.bus.pause();
  const auto end = Clock::now() + kStop;
  for (auto due = Clock::now(); due < end; due += kPace) {
    std::this_thread::sleep_until(due);
    caller.call(entry.event);
  }
  desk.bus.resume();
  const Hub& hub = Hub::instance();
  eventually([&hub] { return hub.counters().pending == 0; }, Milliseconds(60000));

  const MessageCounters counters = hub.counters();
  const auto handedOver = static_cast<double>(counters.accepted + counters.refused) - 1;
  print("slow", 1000.0 * caller.slow / caller.calls);
  print("systemCalls", static_cast<double>(caller.others));
  print("contendedLocks", static_cast<double>(caller.locks));
  print("growthOfTheHeap", static_cast<double>(caller.growth));
  print("memory", peakMemory() - memoryBefore);
  print("lost", static_cast<double>(counters.refused + counters.dropped));
  print("uncounted",
        std::abs(caller.calls - handedOver) + static_cast<double>(counters.pending) +
            std::abs(static_cast<double>(counters.delivered) - static_cast<double>(desk.stored())));
}
