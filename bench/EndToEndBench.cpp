// End to end, in entries per second: the library into the list service, beside a plain sd-bus sender into a
// receiver that stores the same way. The sender measures twice: with a reply to each stored call, as the
// library receives it, and without replies.

#include <chrono>
#include <cstdio>
#include <functional>

#include "ListServiceNames.h"
#include "LogFixture.h"

namespace {

constexpr int kEntries = 8000;  // in one turn; the ways take turns, so that a busy machine slows all of them
constexpr int kTurns = 4;
constexpr int kWarmUps = 2;  // turns until both storages are full
constexpr char kReceiver[] = "org.tavroline.PlainReceiver";
constexpr int kWindow = 32;  // unanswered calls, as many as the library allows

/** One way into a storage. */
struct Way {
  const char* name;
  const char* service;
  std::function<void()> log;
  std::function<void()> finish;
  double seconds = 0;

  void measure(const BusAndService& desk) {
    const std::uint64_t before = desk.stored(service);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kEntries; ++i) {
      log();
    }
    finish();
    desk.waitForStored(before + kEntries, service);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    seconds += time.count();
  }
};

}  // namespace

int main() {
  const BusAndService desk;
  const ChildProcess receiver(TAVROLINE_RECEIVER, {kReceiver, ":memory:"});
  if (!desk.bus.waitForName(kReceiver)) {
    return 1;
  }
  LogFixture entry(false);
  PlainSender sender(kReceiver);
  const auto ask = [&] {
    sender.ask(entry.event);
    sender.take(kWindow);
  };
  Way ways[] = {
      {"library", Tavroline::ListServiceNames::kService, [&] { logevent_ext(&entry.event); }, [] {}},
      {"answered", kReceiver, ask, [&] { sender.take(1); }},
      {"unanswered", kReceiver, [&] { sender.send(entry.event); }, [] {}}};
  for (int turn = -kWarmUps; turn < kTurns; ++turn) {
    for (Way& way : ways) {
      if (turn == 0) {
        way.seconds = 0;
      }
      way.measure(desk);
    }
  }
  for (const Way& way : ways) {
    std::printf("{\"name\": \"%s\", \"value\": %.0f}\n", way.name, kEntries * kTurns / way.seconds);
  }
}
