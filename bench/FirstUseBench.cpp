// The first use of the library in a process whose memory is locked, and what its full queue holds. The first
// argument selects the measurement.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <utility>

#include "LogFixture.h"
#include "RealTime.h"

namespace {

constexpr int kTaskPriority = 50;

/** The built library with the first call of a task. */
struct FirstUse {
  const Library library;
  void (*const logEvent)(logevent_struct*) = library.find<logevent_struct>("logevent");
  LogFixture entry{false};
  double time = 0;  ///< of the first call

  /** @param then what the task does next */
  explicit FirstUse(const std::function<void(FirstUse&)>& then = [](FirstUse&) {}) {
    runAsTask(kTaskPriority, [&] {
      time = timeOf([this] { log(); });
      then(*this);
    });
  }
  void log() { logEvent(&entry.event); }
};

/** Each first call is that of a new process. */
void firstCall() {
  constexpr int kStarts = 9;
  const BusAndService desk;
  for (int i = 0; i < kStarts; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      if (lockMemory()) {
        print("first", FirstUse().time);
      }
      _exit(0);
    }
    waitpid(child, nullptr, 0);
  }
}

long pageFaults() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_minflt + usage.ru_majflt;
}

void firstBurst() {
  constexpr int kCalls = 10000;  // after the first one
  const BusAndService desk;
  if (!lockMemory()) {
    return;
  }
  int withFault = 0;
  const FirstUse use([&withFault](FirstUse& task) {
    for (int i = 0; i < kCalls; ++i) {
      const long before = pageFaults();
      task.log();
      withFault += pageFaults() != before ? 1 : 0;
    }
  });
  eventually([&desk] { return desk.stored() > kCalls; });
  print("burst/faults", withFault);
  print("burst/missing", kCalls + 1 - static_cast<double>(desk.stored()));
}

/** Resident memory of this process, in MiB. */
double memory() {
  std::ifstream file("/proc/self/statm");
  long pages = 0;
  file >> pages >> pages;
  return static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

/** Logs more than the queue holds while the bus is stopped; what it held is stored afterwards. */
void fullQueue() {
  constexpr int kCalls = 60000;
  const BusAndService desk;
  FirstUse use;
  desk.waitForStored(1);
  desk.bus.pause();
  const double before = memory();
  for (int i = 0; i < kCalls; ++i) {
    use.log();
  }
  print("full/memory", memory() - before);
  desk.bus.resume();
  std::uint64_t stored = 0;
  const auto isComplete = [&] {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const std::uint64_t last = std::exchange(stored, desk.stored());
    return stored > 1 && stored == last;
  };
  eventually(isComplete, std::chrono::minutes(1));
  print("full/entries", static_cast<double>(stored) - 1);
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, void (*)()> measurements{
      {"first", firstCall}, {"burst", firstBurst}, {"full", fullQueue}};
  if (argc == 2 && mayUseFifo()) {
    measurements.at(argv[1])();
  }
}
