// What the library's own thread costs while nothing happens: wake-ups and processor time.

#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include "ListServiceNames.h"
#include "LogFixture.h"
#include "RealTime.h"

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::seconds kSettle{17};  // until a service that is not there is asked for every 30 s only
constexpr std::chrono::seconds kIdle{8};

struct Cost {
  double wakeUps = 0;
  double processorTime = 0;  ///< in seconds
};

/** What a thread has cost since its start. */
Cost costOf(int thread) {
  const std::string folder = "/proc/self/task/" + std::to_string(thread);
  Cost cost;
  std::ifstream(folder + "/schedstat") >> cost.processorTime;
  cost.processorTime /= 1e9;
  std::ifstream status(folder + "/status");
  for (std::string word; status >> word && word != "voluntary_ctxt_switches:";) {
  }
  status >> cost.wakeUps;
  return cost;
}

/** One event, one request for the list, then nothing. */
void measure(const std::string& name) {
  const Library library;
  LogFixture entry(false);
  library.find<logevent_struct>("logevent")(&entry.event);
  openeventlistreadhandle_struct reader{};
  library.find<openeventlistreadhandle_struct>("openeventlistreadhandle")(&reader);
  loadcompleteeventlist_struct load{reader.hReadHandle, TAVROLINE_BUSY};
  while (load.iResult == TAVROLINE_BUSY) {
    library.find<loadcompleteeventlist_struct>("loadcompleteeventlist")(&load);
    std::this_thread::sleep_for(1ms);
  }

  std::this_thread::sleep_for(kSettle);
  const int hub = hubThread();
  const Cost before = costOf(hub);
  std::this_thread::sleep_for(kIdle);
  const Cost after = costOf(hub);
  constexpr auto kSeconds = static_cast<double>(kIdle.count());
  print("wakeUps/" + name, (after.wakeUps - before.wakeUps) / kSeconds);
  print("processor/" + name, (after.processorTime - before.processorTime) / kSeconds * 100);
  closeeventlistreadhandle_struct closed{reader.hReadHandle};
  library.find<closeeventlistreadhandle_struct>("closeeventlistreadhandle")(&closed);
}

}  // namespace

int main() {
  {
    const BusAndService desk;
    measure("served");
  }
  PrivateBus bus;
  measure("noService");
  bus.stop();
  measure("noBus");
}
