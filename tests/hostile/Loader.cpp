// A PLC program that raises an alarm, logs an event in each cycle and loads the event list. For a while it
// takes all memory that is left; then it ends after three more loads. Prints the number of messages, and how
// often the last loads ended with 0 and with 2. The alarm's handle stays open, so that the alarm stays on.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "PlcCalls.h"
#include "PlcProgram.h"

namespace {

constexpr int kMemoryTaken = 20, kMemoryFreed = 60;  // cycles

const PlcRuntime* s_plc;
int s_cycle = 0, s_messages = 0;
std::array<int, 3> s_loads;  // by result, since the memory was freed

void takeOrFreeMemory() {
  static void** blocks = nullptr;  // each begins with the address of the one before
  for (std::size_t size = 1U << 26U; s_cycle == kMemoryTaken && size >= sizeof *blocks; size /= 2) {
    while (auto** const block = static_cast<void**>(std::malloc(size))) {
      *block = std::exchange(blocks, block);
    }
  }
  while (s_cycle == kMemoryFreed && blocks != nullptr) {
    std::free(std::exchange(blocks, static_cast<void**>(*blocks)));
  }
}

void useLists() {
  static PlcCalls calls(
      [](const std::string& name) { return s_plc->findFunction(s_plc->context, name.c_str()); });
  static const TavrolineHandle reader = calls.open(PlcCalls::kEventReader);
  if (s_cycle == 1) {
    logalarm_struct alarm{};  // of the first type
    alarm.iState = TAVROLINE_ON;
    alarm.hWriteHandle = calls.open(PlcCalls::kAlarmHandler);
    calls.log("logalarm", alarm, {});
    ++s_messages;
  }
  logevent_struct event{};
  event.iEventType = TAVROLINE_EVENT;
  calls.log("logevent", event, {});
  ++s_messages;
  loadcompleteeventlist_struct load{reader, TAVROLINE_ERROR};
  calls.call("loadcompleteeventlist", load);
  s_loads.at(static_cast<std::size_t>(load.iResult)) += s_cycle > kMemoryFreed ? 1 : 0;
}

bool hasLoaded() {
  return s_loads[TAVROLINE_DONE] + s_loads[TAVROLINE_ERROR] == 3;
}

void cycle(void*) {
  if (hasLoaded()) {
    return;
  }
  ++s_cycle;
  takeOrFreeMemory();
  try {
    useLists();
  } catch (const std::bad_alloc&) {  // of the program itself
  }
  if (hasLoaded()) {
    std::printf("%d messages, %d loads, %d failed\n", s_messages, s_loads[TAVROLINE_DONE],
                s_loads[TAVROLINE_ERROR]);
    s_plc->finish(s_plc->context, 0);
  }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int PlcProgramMain(const PlcRuntime* plc,
                                                                     PlcProgram* program) {
  static const PlcTask kTask{"Loader", 5, cycle, nullptr};
  s_plc = plc;
  *program = {&kTask, 1, nullptr, nullptr};
  return 0;
}
