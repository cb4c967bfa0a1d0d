#include "ExternalFunction.h"

#include <cstring>
#include <functional>
#include <map>
#include <set>

#include "ExternalFunctionTable.h"
#include "UnitSupport.h"

namespace {

constexpr char kNullStructure[] = "codesys struct nullpointer";

/** Call a function of the table by its name without the suffix, with whatever structure. */
void callNamed(const std::string& name, void* structure) {
  for (const ExternalFunctionEntry* row = ExternalFunctionTable; row->pfFunction != nullptr; ++row) {
    if (name + "_ext" == row->pszName) return reinterpret_cast<void (*)(void*)>(row->pfFunction)(structure);
  }
  ADD_FAILURE() << name << " is not in the table";
}

/** The messages of the runtime-log records, without their origin. */
Lines items() {
  Lines texts;
  for (const std::string& record : records())
    texts.push_back(record.substr(record.rfind(": ") + 2));
  return texts;
}

// Offset of iResult, which reads 2 afterwards, or -1, and the functions; all have the handle at the start.
struct HandleRow {
  const char* message;
  int result;
  Lines functions;
};
constexpr int kHandle = sizeof(TavrolineHandle);
const HandleRow kHandleRows[] = {
    {"EventlistReadHandle nullpointer",
     -1,
     {"setlistreadlanguage", "setfiltertime", "resetlistchanged", "resetfiltertime", "resetfilterkeyword",
      "resetfiltereventtype", "resetfilterall", "haslistchanged", "clearfilterkeyword",
      "clearfiltereventtype", "addfilterkeyword", "addfiltereventtype"}},
    {"EventlistReadHandle nullpointer", kHandle, {"loadcompleteeventlist"}},
    {"EventlistReadHandle nullpointer", kHandle + 2, {"loadpartofeventlist"}},
    {"AlarmlistReadHandle nullpointer",
     -1,
     {"setfilterstatealarm", "setfilterstateacknowledge", "resetfilterstatealarm",
      "resetfilterstateacknowledge", "isfaultinalarmlist", "isalarminalarmlist", "isactivefaultinalarmlist",
      "isactivealarminalarmlist", "getcentraldetectorstate"}},
    {"AlarmlistReadHandle nullpointer", kHandle, {"loadcompletealarmlist"}},
    {kNullStructure,
     -1,
     {"logalarm", "closealarmlistwritehandle", "geteventlistentries", "getalarmlistentries"}},
    {kNullStructure, 3 * kHandle, {"getalarmstatefromalarmhandler"}},
    {"", -1, {"closeeventlistreadhandle", "closealarmlistreadhandle"}}};  // silent

TEST_F(ComponentTest, ANullHandleIsReportedAndWritesNothingButAResult) {
  for (const auto& [message, result, functions] : kHandleRows) {
    for (const std::string& function : functions) {
      fake::reset();
      alignas(8) char structure[160];
      std::memset(structure, 0x5A, sizeof structure);
      std::memset(structure, 0, kHandle);
      std::string expected(structure, sizeof structure);
      if (result >= 0) expected.replace(std::size_t(result), 2, std::string("\x02\0", 2));
      callNamed(function, structure);
      EXPECT_EQ(std::string(structure, sizeof structure), expected) << function;
      EXPECT_EQ(items(), *message == '\0' ? Lines{} : Lines{message}) << function;
    }
  }
}

TEST_F(ComponentTest, ANullStructureIsReportedWhereItIsNotIgnored) {
  Lines reported{"logevent", "openalarmlistwritehandle", "acknowledgevisualalarm",
                 "acknowledgecentraldetector"};
  Lines silent{"openeventlistreadhandle", "openalarmlistreadhandle", "deleteeventlist"};
  for (const HandleRow& row : kHandleRows) {
    Lines& kind = *row.message == '\0' ? silent : reported;
    kind.insert(kind.end(), row.functions.begin(), row.functions.end());
  }
  EXPECT_EQ(reported.size() + silent.size(), 38U);
  for (const std::string& function : silent)
    callNamed(function, nullptr);
  EXPECT_EQ(items(), Lines{});
  for (const std::string& function : reported) {
    fake::reset();
    callNamed(function, nullptr);
    EXPECT_EQ(items(), Lines{kNullStructure}) << function;
  }
}

template <auto Copy, typename Request>
void expectRequestChecks(const ReaderKind& kind) {
  fake::reset();
  const Reader reader(kind);
  for (const TavrolineHandle handle : {TavrolineHandle{nullptr}, reader.handle}) {
    Request request{handle, nullptr, 1, -1, -7};
    call<Copy>(&request);
    EXPECT_EQ(request.iResult, TAVROLINE_ERROR);
    EXPECT_EQ(request.diNumberOfEntries, -7);
  }
  EXPECT_EQ(items(), (Lines{kind.list + "ReadHandle nullpointer", "DBusPendingReply nullpointer"}));
  EXPECT_EQ(records()[1], kind.className() + ": int16_t " + kind.className() + "::convert" + kind.list +
                              "(int&, st" + kind.list + "EntryType*, int) const: convert" + kind.list +
                              ": DBusPendingReply nullpointer");
}

TEST_F(ComponentTest, ACopyChecksTheHandleOfItsRequestAndThenTheArray) {
  expectRequestChecks<geteventlistentries_ext, stGetEventlistEntriesType>(kEventKind);
  expectRequestChecks<getalarmlistentries_ext, stGetAlarmlistEntriesType>(kAlarmKind);
}

struct AlarmFunctions : ComponentTest {
  ~AlarmFunctions() override { call<closealarmlistwritehandle_ext>(m_handle); }
  void raise() { logEntry<logalarm_ext>(0, 1, "", "", 0, m_handle); }
  TavrolineHandle m_handle = call<openalarmlistwritehandle_ext>().hWriteHandle;
};

TEST_F(AlarmFunctions, AnAlarmWithoutItsDescriptionIsReportedOnceAndNotRaised) {
  const stDataType data{};
  const stDescriptionArgumentType argument{};
  const stDescriptionUrlArgumentType url{};
  for (int missing = 0; missing < 3; ++missing) {
    fake::reset();
    call<logalarm_ext>(m_handle, 0, 1, "", "", 0, missing == 0 ? nullptr : &data, nullptr, 1, "",
                       missing == 1 ? nullptr : &argument, missing == 2 ? nullptr : &url);
    EXPECT_EQ(items(), Lines{kNullStructure});
    EXPECT_TRUE(fake::calls("logEvent").empty());
  }
  raise();
  EXPECT_EQ(fake::calls("logEvent").size(), 1U) << "the alarm was still off";
}

TEST_F(AlarmFunctions, AnExceptionOfTheDeviceEndsInOneRecordAndAnErrorResult) {
  const auto query = [this] {
    EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(m_handle).iResult, TAVROLINE_ERROR);
  };
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"logEvent", [] { logEntry<logevent_ext>(3, 1, "", "", 0); }},
      {"logEvent", [this] { raise(); }},
      {"deleteEventlist", [] { deleteeventlist_ext(nullptr); }},
      {"acknowledgeVisualAlarm", [] { call<acknowledgevisualalarm_ext>(81, nullptr, ""); }},
      {"acknowledgeCentralDetector", [] { call<acknowledgecentraldetector_ext>(); }},
      {"getAlarmState", query},
      {"isFinished", [&] { advanceMonotonicClock(5000), query(); }},
      {"logEvent", [this] { m_handle = call<closealarmlistwritehandle_ext>(m_handle).hWriteHandle; }}};
  for (const auto& [operation, act] : rows) {
    fake::reset();
    fake::fail(operation, fake::Failure::Throw);
    EXPECT_NO_THROW(act());
    EXPECT_EQ(fake::calls(operation).size(), 1U);
    EXPECT_EQ(records().size(), 1U) << operation;
  }
  EXPECT_EQ(m_handle, nullptr) << "a handler whose last message failed is closed all the same";
}

}  // namespace
