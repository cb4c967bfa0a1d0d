// End to end: how fast entries get into a service's storage, through the library into the list service, and
// by plain sd-bus into a receiver that stores the same way. Once with each call answered after it was stored,
// as the library has it, once with none answered. Entries per second.

#include <chrono>
#include <cstdio>
#include <functional>

#include "ListServiceNames.h"
#include "LogCase.h"

namespace {

constexpr int kEntries = 10000;
constexpr char kReceiver[] = "org.tavroline.PlainReceiver";
constexpr int kWindow = 32;  // what may be unanswered, as the library has it

void measure(const char* name, const BusAndService& desk, const char* service,
             const std::function<void()>& log) {
  const std::uint64_t before = desk.stored(service);
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kEntries; ++i)
    log();
  desk.waitForStored(before + kEntries, service);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  std::printf("{\"name\": \"%s\", \"value\": %.0f}\n", name, kEntries / time.count());
}

}  // namespace

int main() {
  const BusAndService desk;
  const ChildProcess receiver(TAVROLINE_RECEIVER, {kReceiver, ":memory:"});
  if (!desk.bus.waitForName(kReceiver)) return 1;
  LogCase entry(false);
  PlainSender sender(kReceiver);
  const auto library = [&] { logevent_ext(&entry.event); };
  const auto answered = [&] {
    sender.ask(entry.event);
    sender.take(kWindow);
  };
  const auto unanswered = [&] { sender.send(entry.event); };

  measure("warm", desk, ListServiceNames::kService, library);
  measure("library", desk, ListServiceNames::kService, library);
  measure("answered", desk, kReceiver, answered);
  sender.take(1);
  measure("unanswered", desk, kReceiver, unanswered);
}
