// The hook's longest wait while a PLC task completes a load. The completing load step parses the list under
// the mutex of the event-list readers, and the hook takes that mutex too. One line for each load, in
// microseconds.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <vector>

#include "LogFixture.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLoads = 7;
constexpr std::chrono::milliseconds kTaskPeriod{1};

/** Load the complete list as a PLC task does: one step in each cycle. */
void load(TavrolineHandle reader) {
  loadcompleteeventlist_struct step{reader, TAVROLINE_BUSY};
  for (;;) {
    loadcompleteeventlist_ext(&step);
    if (step.iResult != TAVROLINE_BUSY) {
      break;
    }
    std::this_thread::sleep_for(kTaskPeriod);
  }
}

int loadedEntries(TavrolineHandle reader, int capacity) {
  std::vector<stEventlistEntryType> entries(static_cast<std::size_t>(capacity));
  stGetEventlistEntriesType request{reader, entries.data(), capacity, TAVROLINE_ERROR, 0};
  geteventlistentries_struct get{&request};
  geteventlistentries_ext(&get);
  return request.diNumberOfEntries;
}

/** Calls the hook without a pause during one load; the longest call. */
Clock::duration longestHookDuringLoad(TavrolineHandle reader) {
  void (*const hook)() = communicationCycle();
  std::atomic<bool> loaded{false};
  std::thread task([&] {
    load(reader);
    loaded = true;
  });
  Clock::duration longest{};
  while (!loaded) {
    const auto start = Clock::now();
    hook();
    longest = std::max(longest, Clock::now() - start);
  }
  task.join();
  return longest;
}

void measure(int entries) {
  openeventlistreadhandle_struct opened{};
  openeventlistreadhandle_ext(&opened);
  for (int i = 0; i < kLoads; ++i) {
    const std::chrono::duration<double, std::micro> wait = longestHookDuringLoad(opened.hReadHandle);
    if (loadedEntries(opened.hReadHandle, 2 * entries) != entries) {
      throw std::runtime_error("a list of another size was loaded");
    }
    std::printf("{\"name\": \"wait/%d\", \"value\": %.0f}\n", entries, wait.count());
  }
  closeeventlistreadhandle_struct closed{opened.hReadHandle};
  closeeventlistreadhandle_ext(&closed);
}

}  // namespace

int main() {
  const BusAndService desk;
  LogFixture entry(true);
  int logged = 0;
  for (const int entries : {1000, 10000}) {
    for (; logged < entries; ++logged) {
      logevent_ext(&entry.event);
    }
    desk.waitForStored(static_cast<std::uint64_t>(entries));
    measure(entries);
  }
}
