#include <cstring>
#include <functional>
#include <map>
#include <thread>

#include "UnitSupport.h"

namespace {

constexpr std::size_t kHandle = sizeof(TavrolineHandle);
constexpr std::size_t kRequestResult = 2 * kHandle + 4, kCount = kRequestResult + 4;
alignas(8) constexpr char kNothing[1024] = {};  // every text and structure that is only read

ComponentInitRecord g_record;
std::map<std::string, std::function<RTS_RESULT(void*)>> g_functions;  // as registered, and the frame's

/** Afresh, again (a load or a query is outstanding, a close stale), with a handle that is to be refused. */
enum Situation { First, Second, NullHandle, ForeignHandle };

/** A function and all that it works on: loaded readers with filters, an alarm that is on. */
struct Scene {
  Scene(std::string function, Situation now) : name(std::move(function)), situation(now) {
    fake::reset();
    for (const Reader* reader : {&events, &alarms}) {
      const QByteArray entry = R"({"EventType":3,"Keywords":["k"],"LocalTime":"2024-05-01T12:00:00.000"})";
      reader->load("[" + entry + "," + entry + "]");
      call<addfiltereventtype_ext>(reader->handle, 3);
      call<addfilterkeyword_ext>(reader->handle, 0, "k");
      call<setfiltertime_ext>(reader->handle, 0xFFFFFFFF, 0);
    }
    call<setfilterstatealarm_ext>(alarms.handle, 0);
    logEntry<logalarm_ext>(0, 1, "", "", 0, handler);
    for (const auto* request :
         {"getCompleteEventlist", "getPartOfEventlist", "getCompleteAlarmlist", "getAlarmState"}) {
      fake::answer(request, {{2, {}}, {0, "{}"}});
    }
    if (situation == Second) {
      run();
    }
  }
  ~Scene() { call<closealarmlistwritehandle_ext>(handler); }

  /** The structure's words, one per field on either width of pointers, and the offset of its result. */
  std::pair<std::vector<const void*>, std::size_t> arguments() const {
    const auto number = [](std::uintptr_t value) { return reinterpret_cast<const void*>(value); };
    const void *const e = events.handle, *const a = alarms.handle;
    const void *const o = kNothing, *const n = nullptr;
    std::map<std::string, std::pair<std::vector<const void*>, std::size_t>> rows{
        {"loadcompleteeventlist_ext", {{e}, kHandle}},
        {"loadpartofeventlist_ext", {{e, number(7)}, kHandle + 2}},
        {"loadcompletealarmlist_ext", {{a}, kHandle}},
        {"geteventlistentries_ext", {{e, entries.data(), number(3)}, kRequestResult}},
        {"getalarmlistentries_ext", {{a, entries.data(), number(3)}, kRequestResult}},
        {"getalarmstatefromalarmhandler_ext", {{handler, &outputs[0], &outputs[1]}, 3 * kHandle}},
        {"closealarmlistwritehandle_ext", {{handler}, 0}},
        {"logalarm_ext", {{handler, number(2 << 16), o, o, o, o, o, o, o, o, o, n, n, n, n, n, n}, 0}},
        {"logevent_ext", {{number(3), o, o, o, o, o, o, o, o, o, n, n, n, n, n, n}, 0}},
        {"acknowledgevisualalarm_ext", {{number(1), o, o, n, n}, 0}},
        {"acknowledgecentraldetector_ext", {{o}, 0}}};
    const bool ofAlarms = name.find("alarm") != name.npos || name.find("state") != name.npos;
    return rows.insert({name, {{ofAlarms ? a : e, o, o}, 0}}).first->second;
  }

  /** Call it; with a number, that platform call throws. */
  void run(int throwingCall = 0, fake::Thrown thrown = {}, bool andAllAfter = false) {
    const bool opens = name.find("open") == 0, readsEntries = name.find("entries") != name.npos;
    entries.assign(2568, 'Z');  // three elements
    structure.assign(160, 'Z');
    auto [words, resultOffset] = arguments();
    if (situation == NullHandle) {
      words[0] = nullptr;
    }
    if (situation == ForeignHandle) {
      words[0] = kNothing;
    }
    std::memcpy(structure.data(), words.data(), words.size() * kHandle);
    failed = structure;
    if (resultOffset != 0) {
      failed.replace(resultOffset, 2, std::string("\x02\0", 2));
    }
    if (opens) {
      failed.replace(kHandle, kHandle, kHandle, '\0');
    }
    if (name == "closealarmlistwritehandle_ext") {
      failed.replace(0, kHandle, kHandle, '\0');
    }
    void* request = structure.data();
    fake::throwAt(throwingCall, thrown, andAllAfter);
    result = int(g_functions[name](readsEntries ? &request : request));
    calls = fake::platformCalls();
    fake::throwAt(0);
    if (readsEntries) {
      failed.replace(kCount, 4, structure, kCount, 4);
    }
    std::string opened = structure.substr(kHandle);
    if (opens) {
      g_functions["close" + name.substr(4)](opened.data());
    }
  }

  const std::string name;
  const Situation situation;
  const Reader events{kEventKind}, alarms{kAlarmKind};
  const TavrolineHandle handler = call<openalarmlistwritehandle_ext>().hWriteHandle;
  std::string structure, failed, entries, outputs = "ZZ";  // failed: as a failure is to leave the structure
  int result = 0, calls = 0;                               // calls of the platform
};

/** On a thread of its own, which a lock that was left taken would hang. */
void expectLocksAndInterfacesFree() {
  std::thread([] {
    fake::reset();
    for (const ReaderKind* kind : {&kEventKind, &kAlarmKind}) {
      Reader(*kind).load("[]");
    }
    g_functions["hook"](nullptr);
    const TavrolineHandle handler = call<openalarmlistwritehandle_ext>().hWriteHandle;
    EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(handler).iResult, TAVROLINE_BUSY);
    call<closealarmlistwritehandle_ext>(handler);
    EXPECT_EQ(items(), Lines{});
  }).join();
}

void expectEveryFailureContained(const std::string& name, Situation situation) {
  const auto [calls, whole] = [&] {
    Scene unharmed(name, situation);
    unharmed.run();
    EXPECT_TRUE(situation != First || items().empty()) << name;
    return std::pair(unharmed.calls, unharmed.entries);
  }();
  const std::tuple<fake::Thrown, bool, std::string> failures[] = {
      {fake::Thrown::Exception, false, "exception:|%1 thrown"},
      {fake::Thrown::BadAlloc, false, "exception:|std::bad_alloc"},
      {fake::Thrown::Foreign, false, "exception:|of an unknown type"},
      {fake::Thrown::Exception, true, ""}};  // the log fails, too
  for (int throwing = 1; throwing <= calls; ++throwing) {
    for (const auto& [thrown, andAllAfter, record] : failures) {
      SCOPED_TRACE(name + ", call " + std::to_string(throwing));
      Scene scene(name, situation);
      scene.run(throwing, thrown, andAllAfter);
      std::string reported;
      for (const std::string& item : items()) {
        if (item.find("exception:") == 0) {
          reported += item;
        }
      }
      EXPECT_EQ(reported, record);
      EXPECT_EQ(scene.result, name.find("port") != name.npos || name == "entry" ? 1 : 0);
      EXPECT_EQ(scene.structure + scene.outputs, scene.failed + "ZZ");
      const char count = scene.structure[kCount];  // may be untouched
      const std::size_t size = name == "getalarmlistentries_ext" ? 768 : 856;
      const std::size_t finished = count == 1 || count == 2 ? std::size_t(count) * size : 0;
      EXPECT_EQ(scene.entries.substr(0, finished), whole.substr(0, finished));
      EXPECT_EQ(scene.entries.find_first_not_of('Z', finished + size), scene.entries.npos);
      expectLocksAndInterfacesFree();
      if (name.find("load") != 0 || situation > Second) {
        continue;
      }
      scene.run();
      EXPECT_EQ(scene.structure[scene.arguments().second], TAVROLINE_BUSY) << "a new request";
    }
  }
}

TEST_F(ComponentTest, APlatformCallThatThrowsCostsNoMoreThanItsOwnCall) {
  g_record.pfRegisterApi = [](const ExternalFunctionEntry* row, auto...) {
    for (; row->pfFunction != nullptr; ++row) {
      const auto function = reinterpret_cast<void (*)(void*)>(row->pfFunction);
      g_functions[row->pszName] = [function](void* structure) { return function(structure), 0U; };
    }
    return fake::platformCall(), RTS_RESULT{0};
  };
  g_record.pfGetApi = [](auto...) { return fake::platformCall(), RTS_RESULT{0}; };
  ASSERT_EQ(ComponentEntry(&g_record), 0);
  ASSERT_EQ(g_record.pfExportFunctions(), 0U);
  ASSERT_EQ(g_functions.size(), 38U);
  g_functions["entry"] = [](void*) { return RTS_RESULT(ComponentEntry(&g_record)); };
  g_functions["import"] = [](void*) { return g_record.pfImportFunctions(); };
  g_functions["export"] = [](void*) { return g_record.pfExportFunctions(); };
  g_functions["hook"] = [](void*) { return g_record.pfHookFunction(20, 0, 0); };
  for (const auto& function : std::map(g_functions)) {
    for (int situation = 0; situation < 4; ++situation) {
      expectEveryFailureContained(function.first, Situation(situation));
    }
  }
}

}  // namespace
