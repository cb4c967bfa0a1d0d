// The time of a logging call, beside a plain sd-bus send of the same content to PlainReceiver: in a burst,
// paced, and with many handles open. In nanoseconds.

#include <algorithm>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include "ListServiceNames.h"
#include "LogFixture.h"

namespace {

using Clock = std::chrono::steady_clock;
using Call = std::function<void()>;

constexpr int kBurst = 10000;
constexpr int kPaced = 1000;
constexpr int kTurns = 3;
constexpr std::chrono::milliseconds kPace{1};

void print(const std::string& name, double value) {
  std::printf("{\"name\": \"%s\", \"value\": %.3f}\n", name.c_str(), value);
}

/** The time of each of `count` calls, one after the other or paced; sorted. */
std::vector<double> timesOf(const Call& call, int count, Clock::duration pace) {
  std::vector<double> times;
  times.reserve(static_cast<std::size_t>(count));
  auto due = Clock::now();
  for (int i = 0; i < count; ++i) {
    if (pace > Clock::duration::zero()) {
      std::this_thread::sleep_until(due += pace);
    }
    const auto start = Clock::now();
    call();
    times.push_back(std::chrono::duration<double, std::nano>(Clock::now() - start).count());
  }
  std::sort(times.begin(), times.end());
  return times;
}

class Measurement {
 public:
  void measure(const std::string& name, const Call& call, int count, Clock::duration pace = {}) {
    const bool plain = name.find("sdbus") != std::string::npos;
    const auto times = timesOf(call, count, pace);
    print(name + "/median", times[times.size() / 2]);
    print(name + "/99%", times[times.size() * 99 / 100]);
    std::uint64_t& sent = plain ? m_plainSent : m_sent;
    sent += static_cast<std::uint64_t>(count);
    m_bus.waitForStored(sent, plain ? kPlainReceiver : Tavroline::ListServiceNames::kService);
  }
  std::uint64_t missing() const { return m_sent - m_bus.stored(); }
  bool isReady() { return m_bus.bus.waitForName(kPlainReceiver); }

 private:
  BusAndService m_bus;
  ChildProcess m_receiver{TAVROLINE_RECEIVER, {kPlainReceiver, ":memory:"}};
  std::uint64_t m_sent = 0;
  std::uint64_t m_plainSent = 0;
};

}  // namespace

int main() {
  Measurement m;
  if (!m.isReady()) {
    return 1;
  }
  PlainSender sender;
  LogFixture plain(false);
  LogFixture withArguments(true);
  const auto library = [](LogFixture& entry) { return [&entry] { logevent_ext(&entry.event); }; };
  const auto sdbus = [&sender](LogFixture& entry) { return [&] { sender.send(entry.event); }; };

  // The first burst of each makes the heap grow; no row uses it.
  m.measure("warm/library", library(withArguments), kBurst);
  m.measure("warm/sdbus", sdbus(withArguments), kBurst);
  for (int turn = 0; turn < kTurns; ++turn) {
    m.measure("burst/sdbus", sdbus(plain), kBurst);
    m.measure("burst/library", library(plain), kBurst);
    m.measure("burstWithArguments/library", library(withArguments), kBurst);
    m.measure("burstWithArguments/sdbus", sdbus(withArguments), kBurst);
    m.measure("paced/sdbus", sdbus(plain), kPaced, kPace);
    m.measure("paced/library", library(plain), kPaced, kPace);

    std::vector<openeventlistreadhandle_struct> handles(1000);
    for (auto& handle : handles) {
      openeventlistreadhandle_ext(&handle);
    }
    m.measure("burst1000Handles/library", library(plain), kBurst);
    for (auto& handle : handles) {
      closeeventlistreadhandle_struct closed{handle.hReadHandle};
      closeeventlistreadhandle_ext(&closed);
    }
    m.measure("burst1Handle/library", library(plain), kBurst);
  }
  print("missing", static_cast<double>(m.missing()));
}
