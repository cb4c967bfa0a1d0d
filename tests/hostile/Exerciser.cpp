// A PLC program of eight tasks that use all functions at once, in random order, and check what they get.
//
// TAVROLINE_EXERCISE="SEED SECONDS BURST [FILE]": the tasks work for SECONDS and log up to BURST events at a
// time. Then "quiet" is printed and, without FILE, the runtime ends. With FILE the tasks only load; once FILE
// exists, the service has returned: each reader must load its list with result 0, then "loaded" is printed.
// "flags DIGITS" is printed when a reader sees a change; the last digit is the change of the event list. At
// the end "call NAME COUNT LONGEST" (microseconds) and "handed NUMBER" (messages) are printed. A line that
// begins with "problem" is a failure.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "PlcProgram.h"
#include "tavroline/tavroline.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::uint32_t kPeriodMilliseconds = 5;
// A request ends after 10 s; a reader that has stopped calling loses the interface after 5 s.
constexpr std::chrono::seconds kProgress{17};
constexpr int kCyclesToLoad = 8000;  // the messages of a full queue are sent before the requests
constexpr RTS_IEC_DINT kEntries = 50;

enum class Phase { Work, Quiet, Returned };

PlcRuntime s_runtime;
Clock::time_point s_start;
unsigned s_seed = 1;
double s_seconds = 3;
unsigned s_burst = 1;
std::string s_file;
std::atomic<Phase> s_phase;
std::atomic<std::size_t> s_loaded;

/** The functions of one list and when a load of it last ended. */
struct ListClass {
  const char* kind;
  const char* load;
  const char* entries;
  std::atomic<Clock::rep> lastEnd{0};
};
std::array<ListClass, 2> s_lists{{{"eventlistread", "loadcompleteeventlist", "geteventlistentries"},
                                  {"alarmlistread", "loadcompletealarmlist", "getalarmlistentries"}}};

struct Reader {
  TavrolineHandle handle = nullptr;
  bool permanent = false;  ///< never closed or paused before the end, so that each load of it must end
  bool loading = false;
  bool loaded = false;  ///< with result 0 since the service's return
  Clock::time_point since{};
  Clock::time_point pausedUntil{};
};
struct Alarm {
  TavrolineHandle handle = nullptr;
  bool on = false;
};
struct Calls {
  unsigned long count = 0;
  long long longest = 0;  ///< microseconds
};

struct Task {
  std::mt19937 random;
  std::map<std::string, Calls> calls;
  unsigned long handed = 0;       ///< messages handed to the client
  std::array<Reader, 4> readers;  ///< of the event list and the alarm list in turn, the permanent ones first
  std::array<Alarm, 3> alarms;
  int returnedCycles = 0;
  bool finished = false;                      ///< all lists have been loaded since the return
  std::array<TavrolineHandle, 2> observed{};  ///< readers of the two lists
  std::string flags;

  unsigned below(std::size_t limit) { return static_cast<unsigned>(random() % limit); }

  template <typename Structure>
  void call(const std::string& name, Structure& parameters) {
    const ExternalFunction function = s_runtime.findFunction(s_runtime.context, (name + "_ext").c_str());
    const auto start = Clock::now();
    reinterpret_cast<void (*)(Structure*)>(function)(&parameters);
    Calls& entry = calls[name];
    ++entry.count;
    entry.longest = std::max<long long>(entry.longest, (Clock::now() - start) / std::chrono::microseconds(1));
  }

  /** Calls a function whose structure is a handle and a BOOL. */
  bool flag(const char* name, TavrolineHandle handle) {
    haslistchanged_struct parameters{handle, 0};
    call(name, parameters);
    return parameters.xListChanged != 0;
  }

  TavrolineHandle open(const std::string& kind) {
    openalarmlistwritehandle_struct parameters{};
    call("open" + kind + "handle", parameters);
    return parameters.hWriteHandle;
  }

  void close(const std::string& kind, TavrolineHandle handle) {
    closealarmlistwritehandle_struct parameters{handle};
    if (handle != nullptr) {
      call("close" + kind + "handle", parameters);
    }
  }

  void cycle(Phase phase) {
    for (unsigned i = phase == Phase::Work ? below(4) : 0; i > 0; --i) {
      useAnything();
    }
    bool allLoaded = true;
    for (std::size_t i = 0; i < readers.size(); ++i) {
      if (readers[i].handle != nullptr && !readers[i].loaded) {
        load(readers[i], s_lists[i % 2], phase);
        allLoaded = allLoaded && readers[i].loaded;
      }
    }
    if (phase != Phase::Returned || finished) {
      return;
    }
    if (++returnedCycles == kCyclesToLoad) {
      std::puts("problem a list is not loaded after the return");
    }
    if (allLoaded) {
      finished = true;
      ++s_loaded;
    }
  }

  void useAnything() {
    const std::size_t what = below(12);
    if (what < readers.size()) {
      use(readers[what], s_lists[what % 2], what < 2);
    } else if (what < readers.size() + alarms.size()) {
      use(alarms[what - readers.size()]);
    } else if (what == 7) {
      acknowledge();
    } else {
      for (unsigned events = below(s_burst) + 1; events > 0; --events) {
        logEvent();
      }
    }
  }

  void use(Reader& reader, const ListClass& list, bool permanent) {
    if (reader.handle == nullptr || (!permanent && below(8) == 0)) {
      close(list.kind, reader.handle);
      reader = Reader{open(list.kind), permanent};
    }
    // The first fields of all these structures agree: a handle, then a number or a BOOL.
    addfilterkeyword_struct parameters{reader.handle, static_cast<RTS_IEC_INT>(below(5)), "water"};
    for (const char* name : {"resetlistchanged", "resetfiltereventtype", "resetfiltertime", "resetfilterall",
                             "addfiltereventtype", "clearfiltereventtype", "resetfilterkeyword",
                             "addfilterkeyword", "clearfilterkeyword"}) {
      if (below(2) == 0) {
        call(name, parameters);
      }
    }
    for (const char* name :
         {"setfilterstatealarm", "resetfilterstatealarm", "setfilterstateacknowledge",
          "resetfilterstateacknowledge", "getcentraldetectorstate", "isalarminalarmlist"}) {
      if (&list == &s_lists[1] && below(2) == 0) {
        call(name, parameters);
      }
    }
    setfiltertime_struct time{reader.handle, static_cast<RTS_IEC_DATE_AND_TIME>(random()), below(1000)};
    call("setfiltertime", time);
    setlistreadlanguage_struct language{reader.handle, below(2) == 0 ? "de" : ""};
    call("setlistreadlanguage", language);
  }

  void load(Reader& reader, ListClass& list, Phase phase) {
    const auto now = Clock::now();
    if (phase == Phase::Work && now < reader.pausedUntil) {
      return;
    }
    if (!reader.loading) {
      reader.since = now;
    }
    loadcompleteeventlist_struct step{reader.handle, -1};
    call(list.load, step);
    reader.loading = step.iResult == TAVROLINE_BUSY;
    if (reader.loading) {
      if (!reader.permanent && below(2000) == 0) {
        reader.pausedUntil = now + std::chrono::seconds(6);
      }
      const Clock::time_point lastEnd{Clock::duration(list.lastEnd)};
      if (now - std::max(lastEnd, reader.since) > kProgress) {
        std::puts("problem no load of a class ends");
      }
      return;
    }
    list.lastEnd = now.time_since_epoch().count();
    if (step.iResult < 0 || step.iResult > TAVROLINE_ERROR) {
      std::puts("problem an unknown result");
    }
    reader.loaded = phase == Phase::Returned && step.iResult == TAVROLINE_DONE;
    if (step.iResult == TAVROLINE_ERROR || below(4) != 0) {
      return;
    }
    std::vector<stEventlistEntryType> array(kEntries);  // the larger entries of the two kinds
    stGetEventlistEntriesType request{reader.handle, array.data(), kEntries, -1, -1};
    geteventlistentries_struct copy{&request};
    call(list.entries, copy);
    if (request.iResult != TAVROLINE_DONE || request.diNumberOfEntries < 0 ||
        request.diNumberOfEntries > kEntries) {
      std::puts("problem a copy failed");
    }
  }

  void close(Alarm& alarm) {
    handed += alarm.on ? 1 : 0;  // the component sends the "off"
    close("alarmlistwrite", alarm.handle);
    alarm = {};
  }

  void use(Alarm& alarm) {
    if (below(8) == 0) {
      close(alarm);
    }
    if (alarm.handle == nullptr) {
      alarm.handle = open("alarmlistwrite");
    }
    logalarm_struct parameters{};
    parameters.hWriteHandle = alarm.handle;
    const bool on = below(2) == 0;
    parameters.iEventType = below(2) == 0 ? TAVROLINE_ALARM : TAVROLINE_FAULT;
    parameters.iState = on ? TAVROLINE_ON : TAVROLINE_OFF;
    handed += alarm.on != on ? 1 : 0;  // only a change is sent
    alarm.on = on;
    log("logalarm", parameters);
    std::array<RTS_IEC_BOOL, 2> answer{};
    getalarmstatefromalarmhandler_struct state{alarm.handle, &answer[0], &answer[1], TAVROLINE_ERROR};
    call("getalarmstatefromalarmhandler", state);
  }

  void logEvent() {
    logevent_struct parameters{};
    parameters.iEventType = below(2) == 0 ? TAVROLINE_AUDIT_TRAIL : TAVROLINE_EVENT;
    ++handed;
    log("logevent", parameters);
  }

  template <typename Structure>
  void log(const char* name, Structure& parameters) {
    stDataType data{};
    stDescriptionArgumentType argument{};
    stDescriptionUrlArgumentType url{};
    std::string("Pump %d").copy(data.sInstanceName, 8);
    data.iInstanceNumber = static_cast<RTS_IEC_INT>(random());
    for (RTS_IEC_WSTRING& unit : argument.wsArgument) {  // any text, without a terminator
      unit = static_cast<RTS_IEC_WSTRING>(random());
    }
    parameters.psModuleName = "Basin";
    parameters.pstData = &data;
    parameters.iKeywordSize = 6;
    parameters.pasKeywords = "water";
    parameters.pastArguments = &argument;
    parameters.pastUrlArguments = &url;
    call(name, parameters);
  }

  void acknowledge() {
    const std::array<RTS_IEC_WSTRING, 2> user{'u', 0};
    acknowledgecentraldetector_struct detector{user.data()};
    call("acknowledgecentraldetector", detector);
    acknowledgevisualalarm_struct alarm{4, user.data(), "all", {0, 0}};
    call("acknowledgevisualalarm", alarm);
    handed += 2;
    if (below(8) == 0) {
      ++handed;
      call("deleteeventlist", detector);  // reads no field
    }
  }

  /** For the first task: prints the flags that readers see and starts the phases. */
  void observe(Phase phase) {
    for (std::size_t i = 0; i < observed.size(); ++i) {
      if (observed[i] == nullptr) {
        observed[i] = open(s_lists[i].kind);
      }
    }
    std::string seen;
    for (const char* name : {"isalarminalarmlist", "isactivealarminalarmlist", "isfaultinalarmlist",
                             "isactivefaultinalarmlist", "getcentraldetectorstate"}) {
      seen += flag(name, observed[1]) ? '1' : '0';
    }
    seen += flag("haslistchanged", observed[0]) ? '1' : '0';
    if (seen != flags) {
      std::printf("flags %s\n", seen.c_str());
    }
    flags = seen;

    const bool over = Clock::now() - s_start > std::chrono::duration<double>(s_seconds);
    if (phase == Phase::Work && over) {
      std::printf("quiet\n");
      s_phase = Phase::Quiet;
      if (s_file.empty()) {
        s_runtime.finish(s_runtime.context, 0);
      }
    } else if (phase == Phase::Quiet && access(s_file.c_str(), F_OK) == 0) {
      s_phase = Phase::Returned;
    } else if (s_loaded == 8) {
      ++s_loaded;
      flag("resetlistchanged", observed[0]);
      logEvent();  // the list changes once more
      std::printf("loaded\n");
    }
  }

  void end() {
    for (std::size_t i = 0; i < readers.size(); ++i) {
      close(s_lists[i % 2].kind, readers[i].handle);
    }
    for (std::size_t i = 0; i < observed.size(); ++i) {
      close(s_lists[i].kind, observed[i]);
    }
    for (Alarm& alarm : alarms) {
      close(alarm);
    }
    for (const auto& [name, entry] : calls) {
      std::printf("call %s %lu %lld\n", name.c_str(), entry.count, entry.longest);
    }
    std::printf("handed %lu\n", handed);
  }
};
std::array<Task, 8> s_tasks;

void cycle(void* state) {
  auto* task = static_cast<Task*>(state);
  const Phase phase = s_phase;
  task->cycle(phase);
  if (task == s_tasks.data()) {
    task->observe(phase);
  }
}

void stop(void*) {
  for (Task& task : s_tasks) {
    task.end();
  }
  std::fflush(stdout);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int PlcProgramMain(const PlcRuntime* runtime,
                                                                     PlcProgram* program) {
  static std::array<PlcTask, s_tasks.size()> plcTasks;
  s_runtime = *runtime;
  s_start = Clock::now();
  const char* settings = std::getenv("TAVROLINE_EXERCISE");
  std::istringstream(settings == nullptr ? "" : settings) >> s_seed >> s_seconds >> s_burst >> s_file;
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  for (std::size_t i = 0; i < s_tasks.size(); ++i) {
    s_tasks[i].random.seed(s_seed * 8 + static_cast<unsigned>(i));
    plcTasks[i] = {"exerciser", kPeriodMilliseconds, cycle, &s_tasks[i]};
  }
  *program = {plcTasks.data(), plcTasks.size(), stop, nullptr};
  return 0;
}
