// A PLC program whose one task misuses the interface in ways that it accepts, then ends with status 0. With
// TAVROLINE_FAULT in the environment the call before reads beyond the program's memory.
#include <sys/mman.h>

#include <cstdlib>

#include "PlcCalls.h"
#include "PlcProgram.h"

namespace {

const PlcRuntime* s_plc;

/** Each spoils a good event. */
constexpr void (*kSpoil[])(logevent_struct&) = {
    [](logevent_struct& event) { event.iState = 7; },
    [](logevent_struct& event) { event.pastArguments = nullptr; },
    [](logevent_struct& event) { event.iKeywordSize = 0; },
    [](logevent_struct& event) {
      event.stKeywordsDimInfo = {5, 0};
    },
    [](logevent_struct& event) {
      event.stArgumentsDimInfo = {-2147483647, 2147483647};
    },
    [](logevent_struct& event) {
      event.stUrlArgumentsDimInfo = {1, 1};
    },  // its text source is wrong
};

void cycle(void*) {
  PlcCalls calls([](const std::string& name) { return s_plc->findFunction(s_plc->context, name.c_str()); });
  reinterpret_cast<void (*)(void*)>(s_plc->findFunction(s_plc->context, "openeventlistreadhandle_ext"))(
      nullptr);
  const TavrolineHandle reader = calls.open(PlcCalls::kEventReader);
  closealarmlistreadhandle_struct wrongKind{reader};  // so it is never closed
  calls.call("closealarmlistreadhandle", wrongKind);
  closealarmlistreadhandle_struct noHandle{nullptr};
  calls.call("closealarmlistreadhandle", noHandle);
  setfiltertime_struct range{reader, 1, 2};
  calls.call("setfiltertime", range);
  stGetEventlistEntriesType request{reader, nullptr, 0, 0, 0};
  geteventlistentries_struct entries{&request};
  calls.call("geteventlistentries", entries);
  const stDataType data{};
  const stDescriptionArgumentType arguments[8]{};  // as many as a trace shows of an endless array
  const stDescriptionUrlArgumentType url{{}, {4, {}, {}, {}, 0, {}}};
  const logevent_struct good{3, 0,       "",        "",   0,  &data,   nullptr,
                             6, "water", arguments, &url, {}, {0, -1}, {0, -1}};
  for (const auto spoil : kSpoil) {
    logevent_struct event = good;
    spoil(event);
    calls.call("logevent", event);
  }
  for (logevent_struct alarm = good; alarm.dtDateTime < 313; ++alarm.dtDateTime) {
    alarm.iEventType = TAVROLINE_ALARM;
    calls.call("logevent", alarm);
  }
  if (std::getenv("TAVROLINE_FAULT") != nullptr) {
    logevent_struct endless = good;
    void* const nobodys = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    endless.pasKeywords = static_cast<const RTS_IEC_STRING*>(nobodys);
    endless.stKeywordsDimInfo = {1, 2000000000};
    calls.call("logevent", endless);
  }
  calls.close(calls.open(PlcCalls::kAlarmHandler));
  s_plc->finish(s_plc->context, 0);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int PlcProgramMain(const PlcRuntime* plc,
                                                                     PlcProgram* program) {
  static const PlcTask kTask{"Careless", 50, cycle, nullptr};
  s_plc = plc;
  *program = {&kTask, 1, nullptr, nullptr};
  return 0;
}
