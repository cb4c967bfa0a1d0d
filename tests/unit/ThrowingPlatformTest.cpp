#include <cstring>
#include <functional>
#include <map>
#include <thread>

#include "ExternalFunctionTable.h"
#include "UnitSupport.h"

namespace {

constexpr std::size_t kHandle = sizeof(TavrolineHandle);
constexpr std::size_t kRequestResult = 2 * kHandle + 4;  // offsets in a request for entries
constexpr std::size_t kCount = kRequestResult + 4;
alignas(8) constexpr char kZeros[1024] = {};  // every text and structure that is only read

ComponentInitRecord s_record;
std::map<std::string, std::function<RTS_RESULT(void*)>> s_functions;  // and those of the record

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

  /** The structure's words, one per field on either width of pointers, and what a failure writes where. */
  struct Arguments {
    std::vector<const void*> words;
    std::size_t offset = 0;
    std::string written{};
  };
  Arguments arguments() const {
    const auto number = [](std::uintptr_t value) { return reinterpret_cast<const void*>(value); };
    const auto entry = [](std::vector<const void*> words) {
      words.insert(words.end(), 9, kZeros);
      words.insert(words.end(), 6, nullptr);  // empty arrays
      return words;
    };
    const void* const eventReader = events.handle;
    const void* const alarmReader = alarms.handle;
    const std::string error("\x02\0", 2);
    const std::string none(kHandle, '\0');
    std::map<std::string, Arguments> rows{
        {"loadcompleteeventlist_ext", {{eventReader}, kHandle, error}},
        {"loadpartofeventlist_ext", {{eventReader, number(7)}, kHandle + 2, error}},
        {"loadcompletealarmlist_ext", {{alarmReader}, kHandle, error}},
        {"geteventlistentries_ext", {{eventReader, entries.data(), number(3)}, kRequestResult, error}},
        {"getalarmlistentries_ext", {{alarmReader, entries.data(), number(3)}, kRequestResult, error}},
        {"getalarmstatefromalarmhandler_ext", {{handler, &outputs[0], &outputs[1]}, 3 * kHandle, error}},
        {"openeventlistreadhandle_ext", {{}, kHandle, none}},
        {"openalarmlistreadhandle_ext", {{}, kHandle, none}},
        {"openalarmlistwritehandle_ext", {{}, kHandle, none}},
        {"closealarmlistwritehandle_ext", {{handler}, 0, none}},
        {"logalarm_ext", {entry({handler, number(2 << 16)})}},
        {"logevent_ext", {entry({number(3)})}},
        {"acknowledgevisualalarm_ext", {{number(1), kZeros, kZeros, nullptr, nullptr}}},
        {"acknowledgecentraldetector_ext", {{kZeros}}}};
    const bool ofAlarms = name.find("alarm") != name.npos || name.find("state") != name.npos;
    return rows.insert({name, {{ofAlarms ? alarmReader : eventReader, kZeros, kZeros}}}).first->second;
  }

  /** Calls the function; the platform call of that number throws. */
  void run(int throwingCall = 0, fake::Thrown thrown = {}, bool andAllAfter = false) {
    const std::size_t countSize = name.find("entries") != name.npos ? 4 : 0;  // written entry by entry
    entries.assign(2568, 'Z');                                                // three elements
    structure.assign(160, 'Z');
    const Arguments given = arguments();
    std::memcpy(structure.data(), given.words.data(), given.words.size() * kHandle);
    failed = structure;
    fake::throwAt(throwingCall, thrown, andAllAfter);
    if (throwingCall == 0) {
      fake::atEachCall([this, before = structure, countSize]() mutable {
        before.replace(kCount, countSize, structure, kCount, countSize);
        EXPECT_EQ(structure + outputs, before + "ZZ") << name << " writes before it has its result";
      });
    }
    void* request = structure.data();
    result = int(s_functions[name](countSize != 0 ? &request : request));
    calls = fake::platformCalls();
    fake::atEachCall({});
    fake::throwAt(0);
    failed.replace(given.offset, given.written.size(), given.written);
    failed.replace(kCount, countSize, structure, kCount, countSize);
    if (name.find("open") == 0) {
      std::string opened = structure.substr(kHandle);
      s_functions["close" + name.substr(4)](opened.data());
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
    s_functions["hook"](nullptr);
    const TavrolineHandle handler = call<openalarmlistwritehandle_ext>().hWriteHandle;
    EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(handler).iResult, TAVROLINE_BUSY);
    call<closealarmlistwritehandle_ext>(handler);
    EXPECT_EQ(items(), Lines{});
  }).join();
}

void expectEveryFailureContained(const std::string& name, bool again) {
  const auto [calls, entries] = [&] {
    Scene unharmed(name, again);
    unharmed.run();
    EXPECT_TRUE(again || items().empty()) << name;
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
        EXPECT_EQ(scene.structure[scene.arguments().offset], TAVROLINE_BUSY) << "a new request";
      }
    }
  }
}

struct ThrowingPlatformTest : ComponentTest {};

TEST_F(ThrowingPlatformTest, APlatformCallThatThrowsCostsNoMoreThanItsOwnCall) {
  for (const auto* row = ExternalFunctionTable; row->pfFunction != nullptr; ++row) {
    s_functions[row->pszName] = [function =
                                     reinterpret_cast<void (*)(void*)>(row->pfFunction)](void* structure) {
      function(structure);
      return 0U;
    };
  }
  const auto platformCall = [](auto...) {
    fake::platformCall();
    return RTS_RESULT{0};
  };
  s_record.pfRegisterApi = platformCall;
  s_record.pfGetApi = platformCall;
  ASSERT_EQ(ComponentEntry(&s_record), 0);
  s_functions["entry"] = [](void*) { return RTS_RESULT(ComponentEntry(&s_record)); };
  s_functions["import"] = [](void*) { return s_record.pfImportFunctions(); };
  s_functions["export"] = [](void*) { return s_record.pfExportFunctions(); };
  s_functions["hook"] = [](void*) { return s_record.pfHookFunction(20, 0, 0); };
  for (const auto& function : std::map(s_functions)) {
    for (const bool again : {false, true}) {
      expectEveryFailureContained(function.first, again);
    }
  }
}

}  // namespace
