// A PLC program of eight tasks that use all functions at once, in random order, and check what they get.
//
// TAVROLINE_EXERCISE="SEED SECONDS BURST [FILE [PERIOD]]": the tasks, every PERIOD (5) ms, work for SECONDS
// and log up to BURST events at a time. Then "quiet" is printed and, without FILE, the runtime ends. With
// FILE the tasks only load; once FILE exists, the service has returned: each reader must load its list with
// result 0, then "loaded" is printed. "flags DIGITS TIME" is printed when a reader sees a change; the last
// digit is the change of the event list. At the end "handed NUMBER" (messages) is printed, and with FILE "did
// KEY KIND ALARM BEGIN END" for each message and "saw BEGIN END KEY..." for the newest entries after a load;
// times in nanoseconds since 1970. A line that begins with "problem" is a failure. A key is TASK.NUMBER.TYPE,
// the entry's user and icon. An apostrophe follows if another icon was chosen: by the service, or by the
// component when a handle was closed.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "PlcCalls.h"
#include "PlcProgram.h"

namespace {

using Clock = std::chrono::steady_clock;
using WallClock = std::chrono::system_clock;
// A request ends after 10 s; a reader that has stopped calling loses the interface after 5 s.
constexpr std::chrono::seconds kProgress{17};
// If the reader that requests is closed, another one requests at once, and its 10 s begin. With this period a
// reader that can be closed lives a fraction of a second, and the 2 s that are left suffice. With a longer
// period the reader may have waited long for its answer; closing it starts the 17 s again.
constexpr std::uint32_t kShortPeriod = 5;  // milliseconds
constexpr RTS_IEC_DINT kEntries = 50;
constexpr std::size_t kTasks = 8;
// With a longer period one event in kRefused has so many arguments that the service refuses it.
constexpr std::size_t kRefused = 400;
constexpr RTS_IEC_DINT kTooMany = 800;

enum class Phase { Work, Quiet, Returned };

PlcRuntime s_runtime;
Clock::time_point s_start;
unsigned s_seed = 1;
double s_seconds = 3;
unsigned s_burst = 1;
std::uint32_t s_period = kShortPeriod;
std::string s_file;
std::atomic<Phase> s_phase;
std::atomic<std::size_t> s_loaded;  ///< readers, since the service's return
std::atomic<unsigned> s_alarms;     ///< handlers opened

/** The functions of one list and when a load of it last ended. */
struct ListClass {
  const char* kind;
  const char* load;
  const char* entries;
  std::atomic<Clock::rep> lastEnd{0};
};
std::array<ListClass, 2> s_lists{{{PlcCalls::kEventReader, "loadcompleteeventlist", "geteventlistentries"},
                                  {PlcCalls::kAlarmReader, "loadcompletealarmlist", "getalarmlistentries"}}};

/** Functions whose structure begins with a reader, then with a number, a BOOL or nothing. */
constexpr std::array<const char*, 15> kReaderFunctions{
    "resetlistchanged", "resetfiltereventtype", "resetfiltertime", "resetfilterall", "addfiltereventtype",
    "clearfiltereventtype", "resetfilterkeyword", "addfilterkeyword", "clearfilterkeyword",
    // of the alarm list only
    "setfilterstatealarm", "resetfilterstatealarm", "setfilterstateacknowledge",
    "resetfilterstateacknowledge", "getcentraldetectorstate", "isalarminalarmlist"};
constexpr std::size_t kOfBothLists = 9;

struct Reader {
  TavrolineHandle handle = nullptr;
  bool loaded = false;                             ///< with result 0 since the service's return
  Clock::time_point since = Clock::now();          ///< begin of the load, or end of the one before
  WallClock::time_point begun = WallClock::now();  ///< the same
  bool loading = false;
};
struct Alarm {
  TavrolineHandle handle = nullptr;
  bool on = false;
  unsigned number = 0;
  std::string key;  ///< of the last edge
};

struct Task : PlcCalls {
  static constexpr std::size_t kReaders = 4;  ///< of the event list and the alarm list in turn
  /** The first ones are never closed, so that each load of them must end. */
  static constexpr std::size_t kPermanent = 2;

  std::mt19937 random;
  std::size_t number = 0;
  unsigned long handed = 0;  ///< messages handed to the client
  std::ostringstream said;
  std::array<Reader, kReaders> readers;
  std::array<Alarm, 3> alarms;
  std::string flags;
  std::string shown;               ///< the newest entries at the last load of the first reader
  std::string seenAlarm = "none";  ///< identifier of an alarm of the list

  Task()
      : PlcCalls([](const std::string& name) {
          return s_runtime.findFunction(s_runtime.context, name.c_str());
        }) {}

  unsigned below(std::size_t limit) { return static_cast<unsigned>(random() % limit); }

  /** The key of the next message. */
  std::string key(int type) const {
    return std::to_string(number) + '.' + std::to_string(handed) + '.' + std::to_string(type);
  }

  /** Hands a message over and records it. */
  template <typename Subject, typename HandOver>
  void record(const std::string& key, const char* kind, const Subject& alarm, HandOver handOver) {
    ++handed;
    const auto begin = WallClock::now();
    handOver();
    if (!s_file.empty()) {
      said << "did " << key << ' ' << kind << ' ' << alarm << ' ' << begin.time_since_epoch().count() << ' '
           << WallClock::now().time_since_epoch().count() << '\n';
    }
  }

  void cycle(Phase phase) {
    for (std::size_t i = 0; i < kReaders; ++i) {
      if (readers[i].handle == nullptr) {
        readers[i].handle = open(s_lists[i % 2].kind);
      }
      if (!readers[i].loaded) {
        load(readers[i], s_lists[i % 2], phase);
      }
    }
    for (unsigned i = phase == Phase::Work ? below(4) : 0; i > 0; --i) {
      useAnything();
    }
  }

  void useAnything() {
    const std::size_t what = below(12);
    if (what > 0 &&
        what < kReaders) {  // the first one has no filter, so that its copies tell what the list has
      use(readers[what], what % 2 == 0 ? kOfBothLists : kReaderFunctions.size());
      if (what >= kPermanent && below(8) == 0) {
        PlcCalls::close(readers[what].handle);
        if (readers[what].loading && s_period > kShortPeriod) {
          s_lists[what % 2].lastEnd = Clock::now().time_since_epoch().count();
        }
        readers[what] = {open(s_lists[what % 2].kind)};
      }
    } else if (what - kReaders < alarms.size()) {
      use(alarms[what - kReaders]);
    } else if (what == 7) {
      acknowledge();
    } else {
      for (unsigned events = below(s_burst) + 1; events > 0; --events) {
        logEvent();
      }
    }
  }

  void use(const Reader& reader, std::size_t functions) {
    addfilterkeyword_struct parameters{reader.handle, static_cast<RTS_IEC_INT>(below(5)), "water"};
    for (std::size_t i = 0; i < functions; ++i) {
      if (below(2) == 0) {
        call(kReaderFunctions[i], parameters);
      }
    }
    setfiltertime_struct time{reader.handle, static_cast<RTS_IEC_DATE_AND_TIME>(random()), below(1000)};
    call("setfiltertime", time);
    setlistreadlanguage_struct language{reader.handle, below(2) == 0 ? "de" : ""};
    call("setlistreadlanguage", language);
  }

  void load(Reader& reader, ListClass& list, Phase phase) {
    const auto now = Clock::now();
    const bool audited = &reader == readers.data();
    const auto wallNow = WallClock::now();
    if (!std::exchange(reader.loading, true)) {
      reader.since = now;
      reader.begun = wallNow;
    }
    loadcompleteeventlist_struct step{reader.handle, -1};
    call(list.load, step);
    if (step.iResult == TAVROLINE_BUSY) {
      const Clock::time_point lastEnd{Clock::duration(list.lastEnd)};
      if (now - std::max(lastEnd, reader.since) > kProgress) {
        std::puts("problem no load of a class ends");
      }
      return;
    }
    reader.loading = false;
    reader.since = now;  // the next cycle begins the next load
    const auto begin = std::exchange(reader.begun, wallNow);
    list.lastEnd = now.time_since_epoch().count();
    if (phase == Phase::Returned && step.iResult == TAVROLINE_DONE) {
      reader.loaded = true;
      ++s_loaded;
    }
    if (!audited && (step.iResult == TAVROLINE_ERROR || below(4) != 0)) {
      return;
    }
    std::vector<stEventlistEntryType> array(kEntries);  // the larger entries of the two kinds
    stGetEventlistEntriesType request{reader.handle, array.data(), kEntries, -1, -1};
    geteventlistentries_struct copy{&request};
    call(list.entries, copy);
    if (request.iResult != TAVROLINE_DONE || request.diNumberOfEntries < 0 ||
        request.diNumberOfEntries > kEntries) {
      std::puts("problem a copy failed");
    } else if (&reader == &readers[1] && request.diNumberOfEntries > 0) {
      const auto* const entries = reinterpret_cast<const stAlarmlistEntryType*>(array.data());
      const char* const id = entries[below(static_cast<std::size_t>(request.diNumberOfEntries))].sAlarmID;
      seenAlarm = *id != 0 ? id : seenAlarm;
    } else if (audited && !s_file.empty()) {
      std::ostringstream entries;
      for (auto entry = array.begin(); entry != array.begin() + request.diNumberOfEntries; ++entry) {
        const std::string user(entry->wsUser, std::find(entry->wsUser, std::end(entry->wsUser), 0));
        entries << ' ' << (user.empty() ? "?" : user) << (user == entry->sIconType ? "" : "'");
      }
      if (const auto before = std::exchange(shown, entries.str()); step.iResult == TAVROLINE_DONE) {
        said << "saw " << begin.time_since_epoch().count() << ' ' << wallNow.time_since_epoch().count()
             << shown << '\n';
      } else if (shown != before) {
        std::puts("problem a failed load changed the list");
      }
    }
  }

  void close(Alarm& alarm) {
    const Alarm last = std::exchange(alarm, {});
    const auto end = [&] { PlcCalls::close(last.handle); };
    // While it is on, the component sends an "off" with the user of the "on".
    last.on ? record(last.key + '\'', "off", last.number, end) : end();
  }

  void use(Alarm& alarm) {
    if (alarm.handle != nullptr && below(8) == 0) {
      close(alarm);
    }
    if (alarm.handle == nullptr) {
      alarm.handle = open(kAlarmHandler);
      alarm.number = s_alarms++;
    }
    logalarm_struct parameters{};
    parameters.hWriteHandle = alarm.handle;
    const bool on = below(2) == 0;
    parameters.iEventType = below(2) == 0 ? TAVROLINE_ALARM : TAVROLINE_FAULT;
    parameters.iState = on ? TAVROLINE_ON : TAVROLINE_OFF;
    const std::string text = key(parameters.iEventType);
    const auto log = [&] { logAnything("logalarm", parameters, text); };
    if (alarm.on == on) {  // only a change is sent
      log();
    } else {
      record(text, on ? "on" : "off", alarm.number, log);
      alarm = {alarm.handle, on, alarm.number, text};
    }
    std::array<RTS_IEC_BOOL, 2> answer{};
    getalarmstatefromalarmhandler_struct state{alarm.handle, &answer[0], &answer[1], TAVROLINE_ERROR};
    call("getalarmstatefromalarmhandler", state);
  }

  void logEvent(bool mayBeRefused = true) {
    logevent_struct parameters{};
    parameters.iEventType = below(2) == 0 ? TAVROLINE_AUDIT_TRAIL : TAVROLINE_EVENT;
    const bool isRefused = s_period > kShortPeriod && below(kRefused) == 0 && mayBeRefused;
    parameters.stArgumentsDimInfo.upper = isRefused ? kTooMany : 0;
    const std::string text = key(parameters.iEventType);
    record(text, isRefused ? "refused" : "event", 0, [&] { logAnything("logevent", parameters, text); });
  }

  template <typename Structure>
  void logAnything(const char* name, Structure& parameters, const std::string& key) {
    stDataType data{};
    stDescriptionArgumentType argument{};
    std::string("Pump %d").copy(data.sInstanceName, 8);
    data.iInstanceNumber = static_cast<RTS_IEC_INT>(handed % 30000);
    for (RTS_IEC_WSTRING& unit : argument.wsArgument) {  // any text, without a terminator
      unit = static_cast<RTS_IEC_WSTRING>(random() | 1U);
    }
    std::copy(std::begin(argument.wsArgument), std::end(argument.wsArgument), argument.wsPlaceholder);
    const std::vector<stDescriptionArgumentType> arguments(
        static_cast<std::size_t>(parameters.stArgumentsDimInfo.upper + 1), argument);
    const std::u16string user(key.begin(), key.end());
    parameters.psIconType = key.c_str();
    parameters.pwsUser = reinterpret_cast<const RTS_IEC_WSTRING*>(user.c_str());
    log(name, parameters, data, arguments.front());
  }

  void acknowledge() {
    const std::string text = key(TAVROLINE_AUDIT_TRAIL);
    const std::u16string name(text.begin(), text.end());
    acknowledgecentraldetector_struct detector{reinterpret_cast<const RTS_IEC_WSTRING*>(name.c_str())};
    record(text + '\'', "detector", 0, [&] { call("acknowledgecentraldetector", detector); });
    const std::string alarmKey = key(TAVROLINE_AUDIT_TRAIL);
    const std::u16string alarmUser(alarmKey.begin(), alarmKey.end());
    acknowledgevisualalarm_struct alarm{static_cast<RTS_IEC_INT>(seenAlarm.size() + 1),
                                        reinterpret_cast<const RTS_IEC_WSTRING*>(alarmUser.c_str()),
                                        seenAlarm.c_str(),
                                        {0, 0}};
    record(alarmKey + '\'', "acknowledge", seenAlarm, [&] { call("acknowledgevisualalarm", alarm); });
    // A deletion hides what was lost before it: only in every second run, at its begin.
    const bool begin = Clock::now() - s_start < std::chrono::duration<double>(s_seconds / 3);
    if (s_seed % 2 == 0 && begin && below(8) == 0) {
      record("-", "delete", 0, [&] { call("deleteeventlist", detector); });  // reads no field
    }
  }

  /** For the first task: prints the flags that readers see and starts the phases. */
  void observe(Phase phase) {
    std::string seen;
    for (const char* name : {"isalarminalarmlist", "isactivealarminalarmlist", "isfaultinalarmlist",
                             "isactivefaultinalarmlist", "getcentraldetectorstate"}) {
      seen += flag(name, readers[1].handle) ? '1' : '0';
    }
    seen += flag("haslistchanged", readers[0].handle) ? '1' : '0';
    if (seen != flags) {
      std::printf("flags %s %lld\n", seen.c_str(),
                  static_cast<long long>(WallClock::now().time_since_epoch().count()));
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
    } else if (s_loaded == kReaders * kTasks) {
      s_loaded = 0;
      flag("resetlistchanged", readers[0].handle);
      logEvent(false);  // the list changes once more
      std::printf("loaded\n");
    }
  }
};
std::array<Task, kTasks> s_tasks;

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
    for (Alarm& alarm : task.alarms) {
      if (alarm.handle != nullptr) {
        task.close(alarm);
      }
    }
    task.closeAll();
    std::printf("%shanded %lu\n", task.said.str().c_str(), task.handed);
  }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int PlcProgramMain(const PlcRuntime* runtime,
                                                                     PlcProgram* program) {
  static std::array<PlcTask, s_tasks.size()> plcTasks;
  s_runtime = *runtime;
  s_start = Clock::now();
  const char* settings = std::getenv("TAVROLINE_EXERCISE");
  std::istringstream(settings == nullptr ? "" : settings) >> s_seed >> s_seconds >> s_burst >> s_file >>
      s_period;
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  for (std::size_t i = 0; i < s_tasks.size(); ++i) {
    s_tasks[i].number = i;
    s_tasks[i].random.seed(s_seed * 8 + static_cast<unsigned>(i));
    plcTasks[i] = {"exerciser", s_period, cycle, &s_tasks[i]};
  }
  *program = {plcTasks.data(), plcTasks.size(), stop, nullptr};
  return 0;
}
