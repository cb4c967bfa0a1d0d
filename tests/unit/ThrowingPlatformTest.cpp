#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "UnitSupport.h"

namespace {

constexpr std::size_t kHandle = sizeof(TavrolineHandle);
constexpr std::size_t kRequestResult = 2 * kHandle + 4;  // offsets in a request for entries
constexpr std::size_t kCount = kRequestResult + 4;
alignas(8) constexpr char kZeros[1024] = {};  // every text and structure that is only read

ComponentInitRecord g_record;
std::map<std::string, std::function<RTS_RESULT(void*)>> g_functions;  // as registered, and the record's

/** A function and what it works on: loaded readers with filters, an alarm that is on. */
struct Scene {
  /** @param again after a first call: a load or a query is outstanding, a closed handle is stale */
  Scene(std::string function, bool again) : name(std::move(function)) {
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
    if (again) {
      run();
    }
  }
  ~Scene() { call<closealarmlistwritehandle_ext>(handler); }

  /** The structure's words, one per field on either width of pointers, and the offset of its result. */
  std::pair<std::vector<const void*>, std::size_t> arguments() const {
    const auto number = [](std::uintptr_t value) { return reinterpret_cast<const void*>(value); };
    const void* const eventReader = events.handle;
    const void* const alarmReader = alarms.handle;
    std::vector<const void*> entryFields(9, kZeros);  // and three empty arrays
    entryFields.resize(15);
    std::vector<const void*> event{number(3)};
    event.insert(event.end(), entryFields.begin(), entryFields.end());
    std::vector<const void*> alarm{handler, number(2 << 16)};
    alarm.insert(alarm.end(), entryFields.begin(), entryFields.end());
    std::map<std::string, std::pair<std::vector<const void*>, std::size_t>> rows{
        {"loadcompleteeventlist_ext", {{eventReader}, kHandle}},
        {"loadpartofeventlist_ext", {{eventReader, number(7)}, kHandle + 2}},
        {"loadcompletealarmlist_ext", {{alarmReader}, kHandle}},
        {"geteventlistentries_ext", {{eventReader, entries.data(), number(3)}, kRequestResult}},
        {"getalarmlistentries_ext", {{alarmReader, entries.data(), number(3)}, kRequestResult}},
        {"getalarmstatefromalarmhandler_ext", {{handler, &outputs[0], &outputs[1]}, 3 * kHandle}},
        {"closealarmlistwritehandle_ext", {{handler}, 0}},
        {"logalarm_ext", {alarm, 0}},
        {"logevent_ext", {event, 0}},
        {"acknowledgevisualalarm_ext", {{number(1), kZeros, kZeros, nullptr, nullptr}, 0}},
        {"acknowledgecentraldetector_ext", {{kZeros}, 0}}};
    const bool ofAlarms = name.find("alarm") != name.npos || name.find("state") != name.npos;
    return rows.insert({name, {{ofAlarms ? alarmReader : eventReader, kZeros, kZeros}, 0}}).first->second;
  }

  /** Calls the function; the platform call of that number throws. */
  void run(int throwingCall = 0, fake::Thrown thrown = {}, bool andAllAfter = false) {
    const bool opens = name.find("open") == 0;
    const bool readsEntries = name.find("entries") != name.npos;
    entries.assign(2568, 'Z');  // three elements
    structure.assign(160, 'Z');
    const auto [words, resultOffset] = arguments();
    std::memcpy(structure.data(), words.data(), words.size() * kHandle);
    failed = structure;
    if (throwingCall == 0) {
      fake::atEachCall([this, before = structure, readsEntries]() mutable {
        before.replace(kCount, readsEntries ? 4 : 0, structure, kCount, readsEntries ? 4 : 0);
        EXPECT_EQ(structure + outputs, before + "ZZ") << name << " writes before it has its result";
      });
    }
    void* request = structure.data();
    fake::throwAt(throwingCall, thrown, andAllAfter);
    result = int(g_functions[name](readsEntries ? &request : request));
    calls = fake::platformCalls();
    fake::throwAt(0);
    fake::atEachCall({});
    if (resultOffset != 0) {
      failed.replace(resultOffset, 2, std::string("\x02\0", 2));
    }
    if (readsEntries) {
      failed.replace(kCount, 4, structure, kCount, 4);
    }
    if (opens) {
      std::string opened = structure.substr(kHandle);
      g_functions["close" + name.substr(4)](opened.data());
    }
    if (opens || name == "closealarmlistwritehandle_ext") {
      failed.replace(opens ? kHandle : 0, kHandle, kHandle, '\0');
    }
  }

  const std::string name;
  const Reader events{kEventKind};
  const Reader alarms{kAlarmKind};
  const TavrolineHandle handler = call<openalarmlistwritehandle_ext>().hWriteHandle;
  std::string structure;
  std::string failed;  ///< as a failure is to leave the structure
  std::string entries;
  std::string outputs = "ZZ";
  int result = 0;
  int calls = 0;  ///< of the platform
};

/** On another thread, which would wait for a lock that is still held. */
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

void expectEveryFailureContained(const std::string& name, bool again) {
  auto unharmed = std::make_unique<Scene>(name, again);
  unharmed->run();
  EXPECT_TRUE(again || items().empty()) << name;
  const int calls = unharmed->calls;
  const std::string entries = unharmed->entries;
  unharmed.reset();
  const std::tuple<fake::Thrown, bool, std::string> failures[] = {
      {fake::Thrown::Exception, false, "exception:|%1 thrown"},
      {fake::Thrown::BadAlloc, false, "exception:|std::bad_alloc"},
      {fake::Thrown::Foreign, false, "exception:|of an unknown type"},
      {fake::Thrown::Exception, true, ""}};  // the log fails, too
  for (int throwing = 1; throwing <= calls; ++throwing) {
    for (const auto& [thrown, andAllAfter, record] : failures) {
      SCOPED_TRACE(name + ", call " + std::to_string(throwing));
      Scene scene(name, again);
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
      EXPECT_EQ(scene.entries.substr(0, finished), entries.substr(0, finished));
      EXPECT_EQ(scene.entries.find_first_not_of('Z', finished + size), scene.entries.npos);
      expectLocksAndInterfacesFree();
      if (name.find("load") == 0) {
        scene.run();
        EXPECT_EQ(scene.structure[scene.arguments().second], TAVROLINE_BUSY) << "a new request";
      }
    }
  }
}

TEST_F(ComponentTest, APlatformCallThatThrowsCostsNoMoreThanItsOwnCall) {
  g_record.pfRegisterApi = [](const ExternalFunctionEntry* row, auto...) {
    for (; row->pfFunction != nullptr; ++row) {
      const auto function = reinterpret_cast<void (*)(void*)>(row->pfFunction);
      g_functions[row->pszName] = [function](void* structure) {
        function(structure);
        return 0U;
      };
    }
    fake::platformCall();
    return RTS_RESULT{0};
  };
  g_record.pfGetApi = [](auto...) {
    fake::platformCall();
    return RTS_RESULT{0};
  };
  ASSERT_EQ(ComponentEntry(&g_record), 0);
  ASSERT_EQ(g_record.pfExportFunctions(), 0U);
  g_functions["entry"] = [](void*) { return RTS_RESULT(ComponentEntry(&g_record)); };
  g_functions["import"] = [](void*) { return g_record.pfImportFunctions(); };
  g_functions["export"] = [](void*) { return g_record.pfExportFunctions(); };
  g_functions["hook"] = [](void*) { return g_record.pfHookFunction(20, 0, 0); };
  for (const auto& function : std::map(g_functions)) {
    expectEveryFailureContained(function.first, false);
    expectEveryFailureContained(function.first, true);
  }
}

}  // namespace
