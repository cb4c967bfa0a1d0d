#include <cstring>
#include <functional>
#include <map>
#include <set>

#include "ExternalFunctionTable.h"
#include "UnitSupport.h"

namespace {

using Lines = std::vector<std::string>;
using AnyFunction = void (*)(void*);

constexpr char kNullStructure[] = "codesys struct nullpointer";

std::map<std::string, AnyFunction> functions() {
  std::map<std::string, AnyFunction> all;
  for (const ExternalFunctionEntry* row = ExternalFunctionTable; row->pfFunction != nullptr; ++row) {
    all[row->pszName] = reinterpret_cast<AnyFunction>(row->pfFunction);
  }
  return all;
}

/** The messages of the runtime-log records, without their origin. */
Lines items() {
  Lines texts;
  for (const std::string& record : records())
    texts.push_back(record.substr(record.rfind(": ") + 2));
  return texts;
}

TEST_F(ComponentTest, ANullStructureIsReportedWhereItIsNotIgnoredSilently) {
  const std::set<std::string> silent{"openeventlistreadhandle_ext", "openalarmlistreadhandle_ext",
                                     "closeeventlistreadhandle_ext", "closealarmlistreadhandle_ext",
                                     "deleteeventlist_ext"};
  ASSERT_EQ(functions().size(), 38U);
  for (const auto& function : functions()) {
    fake::reset();
    function.second(nullptr);
    EXPECT_EQ(items(), silent.count(function.first) != 0 ? Lines{} : Lines{kNullStructure}) << function.first;
  }
}

TEST_F(ComponentTest, ANullHandleIsReportedAndWritesNothingButAResult) {
  constexpr std::size_t kHandle = sizeof(TavrolineHandle);
  const struct {
    const char* message;  // null: silent
    std::vector<const char*> functions;
    int result;  // offset of iResult, -1: none
  } rows[] = {
      {"EventlistReadHandle nullpointer",
       {"setlistreadlanguage", "setfiltertime", "resetlistchanged", "resetfiltertime", "resetfilterkeyword",
        "resetfiltereventtype", "resetfilterall", "haslistchanged", "clearfilterkeyword",
        "clearfiltereventtype", "addfilterkeyword", "addfiltereventtype"},
       -1},
      {"EventlistReadHandle nullpointer", {"loadcompleteeventlist"}, kHandle},
      {"EventlistReadHandle nullpointer", {"loadpartofeventlist"}, kHandle + 2},
      {"AlarmlistReadHandle nullpointer",
       {"setfilterstatealarm", "setfilterstateacknowledge", "resetfilterstatealarm",
        "resetfilterstateacknowledge", "isfaultinalarmlist", "isalarminalarmlist", "isactivefaultinalarmlist",
        "isactivealarminalarmlist", "getcentraldetectorstate"},
       -1},
      {"AlarmlistReadHandle nullpointer", {"loadcompletealarmlist"}, kHandle},
      {kNullStructure, {"logalarm", "closealarmlistwritehandle"}, -1},
      {kNullStructure, {"getalarmstatefromalarmhandler"}, 3 * kHandle},
      {nullptr, {"closeeventlistreadhandle", "closealarmlistreadhandle"}, -1},
  };
  for (const auto& row : rows) {
    for (const char* function : row.functions) {
      fake::reset();
      alignas(8) char parameters[160];
      std::memset(parameters, 0x5A, sizeof parameters);
      std::memset(parameters, 0, kHandle);
      std::string expected(parameters, sizeof parameters);
      if (row.result >= 0)
        expected.replace(static_cast<std::size_t>(row.result), 2, std::string("\x02\0", 2));
      functions().at(std::string(function) + "_ext")(parameters);
      EXPECT_EQ(std::string(parameters, sizeof parameters), expected) << function;
      EXPECT_EQ(items(), row.message == nullptr ? Lines{} : Lines{row.message}) << function;
    }
  }
}

template <typename Struct, typename Request, typename Entry>
void expectRequestChecks(void (*function)(Struct*), const ReaderKind& kind) {
  fake::reset();
  Struct none{nullptr};
  function(&none);
  Entry entry{};
  Request request{nullptr, &entry, 1, -1, -7};
  Struct parameters{&request};
  function(&parameters);
  EXPECT_EQ(request.iResult, TAVROLINE_ERROR);
  Reader reader(kind);
  request = {reader.handle(), nullptr, 1, -1, -7};
  function(&parameters);
  EXPECT_EQ(request.iResult, TAVROLINE_ERROR);
  EXPECT_EQ(request.diNumberOfEntries, -7);
  const std::string list = kind.list;
  EXPECT_EQ(items(),
            (Lines{kNullStructure, list + "ReadHandle nullpointer", "DBusPendingReply nullpointer"}));
  EXPECT_EQ(records().back(), kind.className() + ": int16_t " + kind.className() + "::convert" + list +
                                  "(int&, st" + list + "EntryType*, int) const: convert" + list +
                                  ": DBusPendingReply nullpointer");
}

TEST_F(ComponentTest, ACopyChecksItsRequestThenTheHandleThenTheArray) {
  expectRequestChecks<geteventlistentries_struct, stGetEventlistEntriesType, stEventlistEntryType>(
      geteventlistentries_ext, kEventKind);
  expectRequestChecks<getalarmlistentries_struct, stGetAlarmlistEntriesType, stAlarmlistEntryType>(
      getalarmlistentries_ext, kAlarmKind);
}

logalarm_struct raise(TavrolineHandle handle) {
  static const stDataType data{};
  static const stDescriptionArgumentType argument{};
  static const stDescriptionUrlArgumentType urlArgument{};
  logalarm_struct alarm{};
  alarm.hWriteHandle = handle;
  alarm.iState = 1;
  alarm.pstData = &data;
  alarm.pasKeywords = "";
  alarm.iKeywordSize = 1;
  alarm.pastArguments = &argument;
  alarm.pastUrlArguments = &urlArgument;
  return alarm;
}

TEST_F(ComponentTest, AnAlarmWithoutItsDescriptionIsReportedOnceAndNotRaised) {
  OpenAlarmHandle handle;
  for (int missing = 0; missing < 4; ++missing) {
    fake::reset();
    logalarm_struct alarm = raise(handle.hWriteHandle);
    if (missing == 0) alarm.pstData = nullptr;
    if (missing == 1) alarm.pastArguments = nullptr;
    if (missing == 2) alarm.pastUrlArguments = nullptr;
    logalarm_ext(&alarm);
    EXPECT_EQ(items(), missing < 3 ? Lines{kNullStructure} : Lines{});
    EXPECT_EQ(fake::calls("logEvent").size(), missing < 3 ? 0U : 1U);
  }
}

TEST_F(ComponentTest, AnExceptionOfTheDeviceEndsInOneRecordAndAnErrorResult) {
  getalarmstatefromalarmhandler_struct query{};
  const struct {
    const char* operation;
    std::function<void()> act;
  } rows[] = {
      {"logEvent",
       [] {
         logevent_struct event{}, *p = &event;
         event.iEventType = 3;
         event.pasKeywords = "";
         event.pstData = raise(nullptr).pstData;
         event.pastArguments = raise(nullptr).pastArguments;
         event.pastUrlArguments = raise(nullptr).pastUrlArguments;
         logevent_ext(p);
       }},
      {"deleteEventlist", [] { deleteeventlist_ext(nullptr); }},
      {"acknowledgeVisualAlarm",
       [] {
         acknowledgevisualalarm_struct p{81, nullptr, nullptr, {1, 0}};
         acknowledgevisualalarm_ext(&p);
       }},
      {"acknowledgeCentralDetector",
       [] {
         acknowledgecentraldetector_struct p{};
         acknowledgecentraldetector_ext(&p);
       }},
      {"getAlarmState",
       [&] {
         OpenAlarmHandle handle;
         query = {handle.hWriteHandle, nullptr, nullptr, -1};
         getalarmstatefromalarmhandler_ext(&query);
         EXPECT_EQ(query.iResult, TAVROLINE_ERROR);
       }},
      {"isFinished",
       [&] {
         OpenAlarmHandle handle;
         query = {handle.hWriteHandle, nullptr, nullptr, -1};
         getalarmstatefromalarmhandler_ext(&query);
         EXPECT_EQ(query.iResult, TAVROLINE_ERROR);
       }},
      {"logEvent",
       [] {
         OpenAlarmHandle handle;
         logalarm_struct p = raise(handle.hWriteHandle);
         logalarm_ext(&p);
         p.iState = 2;
         logalarm_ext(&p);
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.operation);
    fake::reset();
    fake::fail(row.operation, fake::Failure::Throw);
    EXPECT_NO_THROW(row.act());
    EXPECT_GE(fake::calls(row.operation).size(), 1U);
    EXPECT_EQ(records().size(), 1U);
  }
}

TEST_F(ComponentTest, AHandlerWhoseClearFailsIsClosedAllTheSame) {
  OpenAlarmHandle open;
  logalarm_struct alarm = raise(open.hWriteHandle);
  logalarm_ext(&alarm);
  fake::fail("logEvent", fake::Failure::Throw);
  EXPECT_NO_THROW(open.close());
  EXPECT_EQ(open.hWriteHandle, nullptr);
}

}  // namespace
