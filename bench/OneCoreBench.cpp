// PLC tasks on one core, with other tasks of a lower real-time priority between them and the threads that
// they share something with. The first argument selects the measurement.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "LogFixture.h"
#include "RealTime.h"

using namespace std::chrono_literals;

namespace {

constexpr int kTaskPriority = 50;

/** A task logs in each cycle, in turns with the hog and without it. Everything runs on the one core. */
void logBesideHog() {
  constexpr int kTurns = 4;
  constexpr int kCalls = 10500;  // in one turn; the hog starts every 40 ms
  moveToCore(0);
  const BusAndService desk;
  const Library library;
  const auto logEvent = library.find<logevent_struct>("logevent");
  LogFixture entry(true);
  logEvent(&entry.event);
  moveToCore(hubThread());

  std::uint64_t logged = 1;
  int starts = 0;
  Cycles alone;
  Cycles besideHog;
  const auto run = [&](Cycles& cycles) {
    cycles.run(kTaskPriority, kCalls, [&](int, double) { return timeOf([&] { logEvent(&entry.event); }); });
    logged += kCalls;
    desk.waitForStored(logged);
  };
  for (int turn = 0; turn < kTurns; ++turn) {
    run(alone);
    const Hog hog(20ms, 40ms);
    run(besideHog);
    starts += hog.starts();
  }
  print("log/alone/99.99%", alone.quantile(0.9999));
  print("log/hog/99.99%", besideHog.quantile(0.9999));
  print("log/alone/longest", alone.quantile(1));
  print("log/hog/longest", besideHog.quantile(1));
  print("log/starts", starts);
  print("log/slow", 1000.0 * (besideHog.slow() - alone.slow()) / starts);
}

/** A task queries flags while a task without real-time priority does the same, interrupted by the hog. */
void queryBesideHog() {
  constexpr int kHandles = 64;
  constexpr int kQueries = 25000;
  moveToCore(0);
  const BusAndService desk;
  const Library library;
  std::vector<openalarmlistreadhandle_struct> readers(kHandles);
  const auto open = library.find<openalarmlistreadhandle_struct>("openalarmlistreadhandle");
  std::for_each(readers.begin(), readers.end(), [open](auto& reader) { open(&reader); });
  const auto isAlarm = library.find<isalarminalarmlist_struct>("isalarminalarmlist");
  const auto query = [&](int number) {
    isalarminalarmlist_struct parameters{readers[static_cast<std::size_t>(number % kHandles)].hReadHandle, 0};
    isAlarm(&parameters);
  };

  std::atomic<bool> stop{false};
  std::thread lowTask([&] {
    for (int number = 0; !stop; number = (number + 1) % kHandles) {
      query(number);
    }
  });
  Cycles cycles;
  {
    const Hog hog(2ms, 8ms);
    cycles.run(kTaskPriority, kQueries, [&](int number, double) { return timeOf([&] { query(number); }); });
  }
  stop = true;
  lowTask.join();
  print("flags/slow", cycles.slow());
  print("flags/longest", cycles.quantile(1));
}

/** How late a task starts while lists arrive. A task of higher priority on its core has used the library
 * first. */
void loadBesideTask() {
  constexpr int kEntries = 10000;
  constexpr int kLoads = 10;
  const BusAndService desk;
  const Library library;
  const auto logEvent = library.find<logevent_struct>("logevent");
  LogFixture entry(true);
  runAsTask(kTaskPriority, [&] { logEvent(&entry.event); });
  for (int i = 1; i < kEntries; ++i) {
    logEvent(&entry.event);
  }
  desk.waitForStored(kEntries);

  openeventlistreadhandle_struct reader{};
  library.find<openeventlistreadhandle_struct>("openeventlistreadhandle")(&reader);
  const auto step = library.find<loadcompleteeventlist_struct>("loadcompleteeventlist");
  const auto load = [&] {
    loadcompleteeventlist_struct parameters{reader.hReadHandle, TAVROLINE_BUSY};
    while (parameters.iResult == TAVROLINE_BUSY) {
      step(&parameters);
      std::this_thread::sleep_for(1ms);
    }
    if (parameters.iResult != TAVROLINE_DONE) {
      throw std::runtime_error("a load failed");
    }
  };
  const auto longestLateness = [](const std::atomic<bool>& stop) {
    Cycles cycles;
    while (!stop) {
      cycles.run(kTaskPriority - 10, 100, [](int, double lateness) { return lateness; });
    }
    return cycles.quantile(1);
  };
  for (const bool loads : {false, true}) {
    std::atomic<bool> stop{false};
    std::thread loader([&] {
      for (int i = 0; loads && i < kLoads; ++i) {
        load();
      }
      std::this_thread::sleep_for(2s);
      stop = true;
    });
    print(loads ? "lists/longest" : "lists/longestWithout", longestLateness(stop));
    loader.join();
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, void (*)()> measurements{
      {"log", logBesideHog}, {"flags", queryBesideHog}, {"lists", loadBesideTask}};
  if (argc == 2 && mayUseFifo()) {
    measurements.at(argv[1])();
  }
}
