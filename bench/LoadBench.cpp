// A whole load of 10,000 entries over the bus, from the first call to result 0, beside `sqlite3 -json` on a
// copy of the service's database with the same rows. In milliseconds, in turns.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "LogFixture.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kEntries = 10000;  // the service's capacity
constexpr int kTurns = 9;
constexpr std::chrono::milliseconds kTaskPeriod{1};

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/** One step in each cycle, as a PLC task loads. */
void load(TavrolineHandle reader) {
  loadcompleteeventlist_struct step{reader, TAVROLINE_BUSY};
  for (loadcompleteeventlist_ext(&step); step.iResult == TAVROLINE_BUSY; loadcompleteeventlist_ext(&step)) {
    std::this_thread::sleep_for(kTaskPeriod);
  }
  if (step.iResult != TAVROLINE_DONE) {
    throw std::runtime_error("the list could not be loaded");
  }
}

}  // namespace

int main() {
  const BusAndService desk(true);
  const std::string& folder = desk.bus.folder();
  const LogFixture entry(true);
  for (int i = 0; i < kEntries; ++i) {
    logevent_struct event = entry.event;
    logevent_ext(&event);
  }
  desk.waitForStored(kEntries);
  std::filesystem::create_directory(folder + "/copy");
  for (const char* file : {"/lists.db", "/lists.db-wal"}) {
    std::filesystem::copy(folder + file, folder + "/copy" + file);
  }
  const std::string query =
      "sqlite3 -json " + folder +
      "/copy/lists.db 'SELECT id, event_type, icon_type, time, module_name, description,"
      " user, keywords FROM events ORDER BY id DESC' >" +
      folder + "/rows.json";

  openeventlistreadhandle_struct opened{};
  openeventlistreadhandle_ext(&opened);
  for (int turn = 0; turn < kTurns; ++turn) {
    auto start = Clock::now();
    load(opened.hReadHandle);
    std::printf("{\"name\": \"load\", \"value\": %.3f}\n", millisecondsSince(start));
    start = Clock::now();
    if (std::system(query.c_str()) != 0) {
      return 1;
    }
    std::printf("{\"name\": \"sqlite3\", \"value\": %.3f}\n", millisecondsSince(start));
  }
  closeeventlistreadhandle_struct closed{opened.hReadHandle};
  closeeventlistreadhandle_ext(&closed);
}
