// What each call allocates and which system calls it makes on its caller's thread, with real client, bus and
// service. TAVROLINE_CALL_COSTS names a file to write the table to.
#include <sys/syscall.h>

#include <set>
#include <sstream>

#include "CallWatch.h"
#include "Runtime.h"
#include "RuntimeFunctions.h"

namespace {

/** What a call keeps to; each allows what those before it do. */
enum Promise { Free, NoSystemCall, NoWaiting };
constexpr const char* kPromises[] = {"free", "no system call", "no waiting"};

struct Kind {  // of system call, with the first promise that allows it
  std::string name;
  Promise promise;
};
Kind kindOf(std::size_t number) {
  if (CallWatch::isAllocators(number)) return {"growth of the heap", Free};
  if (number == SYS_futex) return {"contended lock", Free};
  if (number == SYS_newfstatat) return {"stat of the zone file", NoWaiting};
  return {"number " + std::to_string(number), static_cast<Promise>(NoWaiting + 1)};
}

/** Structure of a function: an object's handle first; zeroes will do for its other inputs. */
struct Parameters {
  TavrolineHandle handle;
  RTS_IEC_INT values[12];
};

class Manners : public BusTest {
 protected:
  /** Call each function, named without "_ext", or the hook; the table keeps the worst of its calls. */
  void watch(Promise promise, const Strings& names, void* parameters, const std::string& state = "") {
    for (const std::string& name : names) {
      const auto function = reinterpret_cast<void (*)(void*)>(component.find(name + "_ext"));
      ASSERT_EQ(function == nullptr, name == "hook") << name;
      calls->watch([&] { function != nullptr ? function(parameters) : component.communicationCycle(); });
      functions.insert(name);
      std::ostringstream row;
      row << "| `" << name << "` | " << state << " | " << kPromises[promise] << " |";
      auto& worst = table[row.str()];
      worst["allocations"] = std::max(worst["allocations"], calls->allocations());
      EXPECT_TRUE(promise != Free || calls->allocations() == 0) << name << ": " << calls->allocations();
      for (std::size_t number = 0; number < CallWatch::kNumbers; ++number) {
        const long count = calls->systemCalls()[number];
        const Kind kind = kindOf(number);
        if (count > 0) worst[kind.name] = std::max(worst[kind.name], count);
        EXPECT_TRUE(count == 0 || kind.promise <= promise) << name << ": " << kind.name;
      }
    }
  }
  TavrolineHandle open(const std::string& kind) {
    openeventlistreadhandle_struct opened{};
    watch(NoWaiting, {"open" + kind + "handle"}, &opened);
    return opened.hReadHandle;
  }
  /** From the first step to the last; `result` is the place of iResult. */
  void finish(const std::string& name, Parameters parameters, int result) {
    service->pause();
    watch(NoWaiting, {name}, &parameters, "starts");
    watch(Free, {name}, &parameters, "runs");
    service->resume();
    const auto step = [&] {
      watch(NoWaiting, {name}, &parameters, "ends");
      return parameters.values[result] != TAVROLINE_BUSY;
    };
    EXPECT_TRUE(eventually(step) && parameters.values[result] == TAVROLINE_DONE) << name;
  }

  const bool aside = (RuntimeFunctions::logToFile(log), true);
  ComponentManager component{TAVROLINE_LIBRARY};
  std::optional<CallWatch> calls;
  std::set<std::string> functions;
  std::map<std::string, std::map<std::string, long>> table;
};

}  // namespace

TEST_F(Manners, NoCallWaitsAndWhatACycleMayCallNeitherAllocatesNorEntersTheKernel) {
  startService();
  component.communicationCycle();  // the very first one starts the client's thread
  tzset();                         // and the very first local time reads the zone file
  calls.emplace();
  Parameters events{open("eventlistread"), {}}, alarms{open("alarmlistread"), {}};
  Parameters handler{open("alarmlistwrite"), {}}, none{};

  const stDataType data{};
  const stDescriptionArgumentType arguments[2]{};
  const stDescriptionUrlArgumentType url{};
  acknowledgevisualalarm_struct texts{6, nullptr, "water\0pump\0\0basin", {0, 2}};
  logalarm_struct entry{handler.handle,    kAlarm,    kOff, "",     "Basin", 0,     &data, nullptr, 6,
                        texts.pasAlarmIds, arguments, &url, {0, 2}, {0, 1},  {0, 0}};
  for (int i = 0; i < 200; ++i) {
    entry.iState = entry.iState == kOn ? kOff : kOn;
    entry.iEventType = kEvent;
    watch(NoSystemCall, {"logevent"}, &entry.iEventType);  // the same structure without the handle
    entry.iEventType = kAlarm;
    watch(NoSystemCall, {"logalarm"}, &entry, "edge");
    watch(NoSystemCall, {"logalarm"}, &entry, "same level");
    watch(NoSystemCall, {"deleteeventlist", "acknowledgecentraldetector"}, &none);
    watch(NoSystemCall, {"acknowledgevisualalarm"}, &texts);
  }
  for (auto [flag, reader] : {std::pair{"haslistchanged", &events}, {"isalarminalarmlist", &alarms}}) {
    EXPECT_TRUE(eventually([&, name = flag, values = &reader->values[0], object = reader] {
      watch(Free, {"hook", name}, object);
      return std::exchange(*values, 0) != 0;
    }));
  }
  watch(Free,
        {"isactivealarminalarmlist", "isfaultinalarmlist", "isactivefaultinalarmlist",
         "getcentraldetectorstate", "setfilterstatealarm", "setfilterstateacknowledge",
         "resetfilterstatealarm", "resetfilterstateacknowledge"},
        &alarms);
  watch(NoWaiting,
        {"addfiltereventtype", "addfilterkeyword", "clearfilterkeyword", "setfiltertime",
         "setlistreadlanguage"},
        &events);
  watch(Free,
        {"resetlistchanged", "resetfiltertime", "resetfilterkeyword", "resetfiltereventtype",
         "clearfiltereventtype", "resetfilterall"},
        &events);

  finish("loadcompleteeventlist", events, 0);
  finish("loadpartofeventlist", events, 1);
  finish("loadcompletealarmlist", alarms, 0);
  finish("getalarmstatefromalarmhandler", handler, 8);
  std::vector<stEventlistEntryType> entries(100);
  stGetEventlistEntriesType request{events.handle, entries.data(), 100, TAVROLINE_ERROR, 0};
  geteventlistentries_struct copy{&request};
  watch(NoWaiting, {"geteventlistentries"}, &copy);
  EXPECT_GT(request.diNumberOfEntries, 0);
  request.hReadHandle = alarms.handle;
  watch(NoWaiting, {"getalarmlistentries"}, &copy);
  watch(NoWaiting, {"closeeventlistreadhandle"}, &events);
  watch(NoWaiting, {"closealarmlistreadhandle"}, &alarms);
  watch(NoWaiting, {"closealarmlistwritehandle"}, &handler);
  EXPECT_EQ(functions.size(), component.functions().size() + 1) << "all, and the hook";

  const char* const path = std::getenv("TAVROLINE_CALL_COSTS");
  std::ofstream file(path != nullptr ? path : "/dev/null");
  for (auto& [call, worst] : table) {
    file << call << ' ' << worst["allocations"] << " |";
    worst.erase("allocations");
    for (const auto& [kind, count] : worst)
      file << ' ' << count << ' ' << kind;
    file << " |\n";
  }
}
