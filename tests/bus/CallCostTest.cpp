// What each call allocates and which system calls it makes on its caller's thread, with the real client, bus
// and service. Growth of the heap and contended locks are allowed everywhere.
#include <sys/syscall.h>

#include <set>

#include "CallWatch.h"
#include "HostLog.h"
#include "Runtime.h"

namespace {

/** What a call may do. A request wakes the client's thread with one write. Without TZ each conversion to
 * local time asks for the date of the zone file. */
enum class Limit { Nothing, Allocations, AllocationsAndWakeUp, AllocationsAndZoneFile };

/** Parameter structure of any function: an object's handle first; zeroes do for the other inputs. */
struct Parameters {
  TavrolineHandle handle;
  RTS_IEC_INT values[12];
};

class CallCostTest : public BusTest {
 protected:
  CallCostTest() { HostLog::toFile(log); }

  template <typename Call>
  void watchCall(Limit limit, const std::string& name, Call call) {
    calls->watch(call);
    EXPECT_TRUE(limit != Limit::Nothing || calls->allocations() == 0) << name << ": " << calls->allocations();
    for (std::size_t number = 0; number < CallWatch::kNumbers; ++number) {
      const bool allowed = CallWatch::isAllocators(number) || number == SYS_futex ||
                           (limit == Limit::AllocationsAndZoneFile && number == SYS_newfstatat);
      const long most = limit == Limit::AllocationsAndWakeUp && number == SYS_write ? 1 : 0;
      EXPECT_TRUE(allowed || calls->systemCalls()[number] <= most) << name << " makes system call " << number;
    }
  }
  /** Calls functions, named without "_ext". */
  void watch(Limit limit, const Strings& names, void* parameters) {
    for (const std::string& name : names) {
      const auto function = reinterpret_cast<void (*)(void*)>(component.find(name + "_ext"));
      ASSERT_NE(function, nullptr) << name;
      watched.insert(name);
      watchCall(limit, name, [&] { function(parameters); });
    }
  }
  TavrolineHandle open(const std::string& kind) {
    openeventlistreadhandle_struct opened{};
    watch(Limit::Allocations, {"open" + kind + "handle"}, &opened);
    return opened.hReadHandle;
  }
  /** Calls the function until it is done. @param result index of iResult in the values */
  void finish(const std::string& name, Parameters parameters, int result) {
    service->pause();
    watch(Limit::AllocationsAndWakeUp, {name}, &parameters);
    watch(Limit::Nothing, {name}, &parameters);  // the request is outstanding
    service->resume();
    const bool ended = eventually([&] {
      watch(Limit::Allocations, {name}, &parameters);
      return parameters.values[result] != TAVROLINE_BUSY;
    });
    EXPECT_TRUE(ended && parameters.values[result] == TAVROLINE_DONE) << name;
  }

  ComponentManager component{TAVROLINE_LIBRARY};
  std::optional<CallWatch> calls;
  std::set<std::string> watched;
};

TEST_F(CallCostTest, NoCallWaitsAndCallsOfEachCycleNeitherAllocateNorEnterTheKernel) {
  startService();
  component.communicationCycle();  // the first one starts the client's thread
  tzset();                         // the first conversion to local time reads the zone file
  calls.emplace();
  Parameters nothing{}, events{open("eventlistread"), {}}, alarms{open("alarmlistread"), {}},
      other{open("alarmlistread"), {}}, handler{open("alarmlistwrite"), {}};

  const PlcCalls plc([this](const std::string& name) { return component.find(name); });
  watched.insert({"logevent", "logalarm"});
  acknowledgevisualalarm_struct texts{6, nullptr, "water\0pump\0\0basin", {0, 2}};
  logevent_struct event{};
  event.iEventType = TAVROLINE_EVENT;
  logalarm_struct alarm{};
  alarm.hWriteHandle = handler.handle;
  alarm.iEventType = TAVROLINE_ALARM;
  for (int i = 0; i < 200; ++i) {
    alarm.iState = i % 2 == 0 ? TAVROLINE_ON : TAVROLINE_OFF;
    watchCall(Limit::Allocations, "a log", [&] {
      plc.log("logevent", event, {});
      plc.log("logalarm", alarm, {});
      plc.log("logalarm", alarm, {});  // the same level again
    });
    watch(Limit::Allocations, {"deleteeventlist", "acknowledgecentraldetector"}, &nothing);
    watch(Limit::Allocations, {"acknowledgevisualalarm"}, &texts);
  }
  const auto becomesTrue = [&](const char* flag, Parameters& reader) {
    return eventually([&] {
      watchCall(Limit::Nothing, "hook", [&] { component.communicationCycle(); });
      watch(Limit::Nothing, {flag}, &reader);
      return std::exchange(reader.values[0], 0) != 0;
    });
  };
  EXPECT_TRUE(becomesTrue("haslistchanged", events));
  EXPECT_TRUE(becomesTrue("isalarminalarmlist", alarms));
  watch(Limit::AllocationsAndZoneFile,
        {"addfiltereventtype", "addfilterkeyword", "clearfilterkeyword", "setfiltertime",
         "setlistreadlanguage"},
        &events);
  watch(Limit::Nothing, {"resetfilterall"}, &events);

  finish("loadcompleteeventlist", events, 0);
  finish("loadpartofeventlist", events, 1);
  finish("loadcompletealarmlist", alarms, 0);
  finish("getalarmstatefromalarmhandler", handler, 8);
  std::vector<stEventlistEntryType> entries(100);
  stGetEventlistEntriesType request{events.handle, entries.data(), 100, TAVROLINE_ERROR, 0};
  geteventlistentries_struct copy{&request};
  watch(Limit::AllocationsAndZoneFile, {"geteventlistentries"}, &copy);
  EXPECT_GT(request.diNumberOfEntries, 0);
  request.hReadHandle = alarms.handle;
  watch(Limit::AllocationsAndZoneFile, {"getalarmlistentries"}, &copy);
  watch(Limit::Allocations, {"closeeventlistreadhandle"}, &events);
  watch(Limit::Allocations, {"closealarmlistreadhandle"}, &alarms);
  watch(Limit::Allocations, {"closealarmlistwritehandle"}, &handler);
  for (const ComponentManager::Function& function : component.functions()) {
    const std::string name = function.name.substr(0, function.name.size() - 4);
    if (watched.count(name) == 0) {
      watch(Limit::Nothing, {name}, &other);
    }
  }
}

}  // namespace
