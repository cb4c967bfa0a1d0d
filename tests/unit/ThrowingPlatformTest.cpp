#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <thread>

#include "ExternalFunctionRows.h"
#include "UnitSupport.h"

namespace {

using external::kRequestCount;
alignas(8) constexpr char kZeros[1024] = {};  // every text and structure that is only read

ComponentInitRecord s_record;
std::map<std::string, std::function<RTS_RESULT(void*)>> s_functions;  // and those of the record

/** A function and what it works on: loaded readers with filters, an alarm that is on. */
struct Scene {
  /** @param again after a first call: a load or a query is outstanding, a closed handle is stale */
  Scene(std::string function, bool again) : name(std::move(function)) {
    fake::reset();
    for (const Reader* reader : {&events, &alarms}) {
      reader->load(R"([{"EventType":3,"Keywords":["k"],"LocalTime":"2024-05-01T12:00:00.000"},{}])");
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

  /** Fills the structure's fields, a word each on either width of pointers. */
  void fill() {
    structure.assign(160, 'Z');
    std::vector<const void*> words;
    for (const external::Field field : row.fields) {
      if (field == external::Handle) {
        words.push_back(handles.count(row.kind) != 0 ? handles.at(row.kind) : events.handle);
      } else if (field == external::Flag) {
        words.push_back(&outputs[words.size() - 1]);
      } else if (field == external::Entries) {
        words.push_back(entries);
      } else if (field == external::Any) {
        words.push_back(reinterpret_cast<const void*>(0x20003));  // as two INT: an event, off
      } else if (field == external::Bounds) {
        words.resize(words.size() + sizeof(__ARRAY__DIM__INFO) / sizeof(void*));
      } else if (field != external::NewHandle) {
        words.push_back(kZeros);
      }
    }
    std::memcpy(structure.data(), words.data(), words.size() * sizeof(void*));
  }

  /** Calls the function; the platform call of that number throws. */
  void run(int throwing = 0, bool laterOnesToo = false) {
    fill();
    const std::size_t countSize = row.hasRequest() ? 4 : 0;  // written entry by entry
    failed = structure;
    fake::atEachCall([&, before = structure](int call) mutable {
      calls = call;
      if (throwing == 0) {
        before.replace(kRequestCount, countSize, structure, kRequestCount, countSize);
        EXPECT_EQ(structure + outputs, before + "ZZ") << name << " writes before it has its result";
      } else if (call == throwing || (call > throwing && laterOnesToo)) {
        throw std::runtime_error("%1 thrown");
      }
    });
    void* request = structure.data();
    result = int(s_functions[name](row.hasRequest() ? &request : request));
    fake::atEachCall({});
    failed.replace(row.failureOffset, row.failureBytes.size(), row.failureBytes);
    failed.replace(kRequestCount, countSize, structure, kRequestCount, countSize);
    if (name.find("open") == 0) {
      std::string opened = structure.substr(sizeof(void*));
      s_functions["close" + name.substr(4)](opened.data());
    }
  }

  const std::string name;
  const external::Row& row = external::rowOf(name);
  const Reader events{kEventKind};
  const Reader alarms{kAlarmKind};
  const TavrolineHandle handler = call<openalarmlistwritehandle_ext>().hWriteHandle;
  const std::map<std::string, TavrolineHandle> handles{{"AlarmlistWriteHandle", handler},
                                                       {"AlarmlistReadHandle", alarms.handle}};
  std::string structure;
  std::string failed;  ///< as a failure is to leave the structure
  char entries[2568];
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

/** How many platform calls the function makes that can throw. */
int platformCalls(const std::string& name, bool again) {
  Scene scene(name, again);
  scene.run();
  EXPECT_TRUE(again || items().empty()) << name;
  return scene.calls;
}

void expectFailureContained(const std::string& name, bool again, int throwing, bool logFails) {
  SCOPED_TRACE(name + ", call " + std::to_string(throwing));
  Scene scene(name, again);
  scene.run(throwing, logFails);
  const Lines written = items();
  EXPECT_EQ(std::count(written.begin(), written.end(), "exception:|%1 thrown"), logFails ? 0 : 1);
  EXPECT_EQ(scene.result, name.find("port") != name.npos || name == "entry" ? 1 : 0);
  EXPECT_EQ(scene.structure + scene.outputs, scene.failed + "ZZ");
  expectLocksAndInterfacesFree();
  if (name.find("load") == 0) {
    scene.run();
    EXPECT_EQ(scene.structure[scene.row.failureOffset], TAVROLINE_BUSY) << "a new request";
  }
}

struct ThrowingPlatformTest : ComponentTest {};

TEST_F(ThrowingPlatformTest, APlatformCallThatThrowsCostsNoMoreThanItsOwnCall) {
  for (const ExternalFunctionEntry& function : external::functions()) {
    s_functions[function.pszName] = [function](void* structure) {
      external::call(function, structure);
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
      for (int throwing = platformCalls(function.first, again); throwing > 0; --throwing) {
        expectFailureContained(function.first, again, throwing, false);
        expectFailureContained(function.first, again, throwing, true);
      }
    }
  }
}

}  // namespace
