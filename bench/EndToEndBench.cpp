// End to end, in entries per second: the library into the list service, beside a plain sd-bus sender into a
// receiver that stores the same way. The sender measures three times: with a reply to each stored entry,
// without replies, and with the library's batches, one of them under way.

#include <chrono>
#include <cstdio>
#include <functional>

#include "ListServiceNames.h"
#include "LogFixture.h"
#include "MessageFormat.h"

namespace MessageFormat = Tavroline::MessageFormat;

namespace {

constexpr int kEntries = 8000;  // in one turn; the ways take turns, so that a busy machine slows all of them
constexpr int kTurns = 4;
constexpr int kWarmUps = 2;  // turns until both storages are full
constexpr int kWindow = 32;  // unanswered calls

/** One way into a storage. */
struct Way {
  const char* name;
  const char* service;
  std::function<void()> log;
  std::function<void()> finish;
  double seconds = 0;

  void measure(const BusAndService& desk) {
    // The first entry ends the long waits of an idle client, which the rate leaves out.
    const std::uint64_t before = desk.stored(service) + 1;
    log();
    finish();
    desk.waitForStored(before, service);
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
  const ChildProcess receiver(TAVROLINE_RECEIVER, {kPlainReceiver, ":memory:"});
  if (!desk.bus.waitForName(kPlainReceiver)) {
    return 1;
  }
  LogFixture entry(false);
  PlainSender sender;
  const auto ask = [&] {
    sender.ask(entry.event);
    sender.take(kWindow);
  };
  std::string batch;
  std::size_t batched = 0;
  const auto sendBatch = [&] {
    sender.take(1);
    sender.askBatch(batch);
    batch.clear();
    batched = 0;
  };
  const auto addToBatch = [&] {
    const std::string encoded = PlainSender::encoded(entry.event);
    if (batch.size() + encoded.size() > MessageFormat::kMaxBatchBytes ||
        batched == MessageFormat::kMaxBatchMessages) {
      sendBatch();
    }
    batch += encoded;
    ++batched;
  };
  Way ways[] = {
      {"library", Tavroline::ListServiceNames::kService, [&] { logevent_ext(&entry.event); }, [] {}},
      {"answered", kPlainReceiver, ask, [&] { sender.take(1); }},
      {"batches", kPlainReceiver, addToBatch,
       [&] {
         sendBatch();
         sender.take(1);
       }},
      {"unanswered", kPlainReceiver, [&] { sender.send(entry.event); }, [] {}}};
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
