#include "ExternalFunction.h"

#include <cstring>
#include <optional>
#include <set>

#include "ExternalFunctionTable.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "UnitSupport.h"

namespace {

constexpr char kNullStructure[] = "codesys struct nullpointer";

/** Call a function of the table by its name without the suffix, with whatever structure. */
void callNamed(const std::string& name, void* structure) {
  for (const ExternalFunctionEntry* row = ExternalFunctionTable; row->pfFunction != nullptr; ++row) {
    if (name + "_ext" == row->pszName) {
      return reinterpret_cast<void (*)(void*)>(row->pfFunction)(structure);
    }
  }
  ADD_FAILURE() << name << " is not in the table";
}

/** All functions that take a handle, which is the first field of their structure, or of their request. */
struct HandleRow {
  const char* kind;
  const char* null;  ///< what a null handle is called; empty: silent
  int result;        ///< offset of iResult, or -1
  Lines functions;
};
constexpr int kHandle = sizeof(TavrolineHandle);
constexpr int kRequestResult = 2 * kHandle + 4;  ///< the structure points to a request
const Lines kReaderFunctions{"setlistreadlanguage",  "setfiltertime",      "resetlistchanged",
                             "resetfiltertime",      "resetfilterkeyword", "resetfiltereventtype",
                             "resetfilterall",       "haslistchanged",     "clearfilterkeyword",
                             "clearfiltereventtype", "addfilterkeyword",   "addfiltereventtype"};
const Lines kAlarmReaderFunctions{
    "setfilterstatealarm",         "setfilterstateacknowledge", "resetfilterstatealarm",
    "resetfilterstateacknowledge", "isfaultinalarmlist",        "isalarminalarmlist",
    "isactivefaultinalarmlist",    "isactivealarminalarmlist",  "getcentraldetectorstate"};
const HandleRow kHandleRows[] = {
    {"ReadHandle", "EventlistReadHandle nullpointer", -1, kReaderFunctions},
    {"EventlistReadHandle", "EventlistReadHandle nullpointer", kHandle, {"loadcompleteeventlist"}},
    {"EventlistReadHandle", "EventlistReadHandle nullpointer", kHandle + 2, {"loadpartofeventlist"}},
    {"EventlistReadHandle", "EventlistReadHandle nullpointer", kRequestResult, {"geteventlistentries"}},
    {"EventlistReadHandle", "", -1, {"closeeventlistreadhandle"}},
    {"AlarmlistReadHandle", "AlarmlistReadHandle nullpointer", -1, kAlarmReaderFunctions},
    {"AlarmlistReadHandle", "AlarmlistReadHandle nullpointer", kHandle, {"loadcompletealarmlist"}},
    {"AlarmlistReadHandle", "AlarmlistReadHandle nullpointer", kRequestResult, {"getalarmlistentries"}},
    {"AlarmlistReadHandle", "", -1, {"closealarmlistreadhandle"}},
    {"AlarmlistWriteHandle", kNullStructure, -1, {"logalarm", "closealarmlistwritehandle"}},
    {"AlarmlistWriteHandle", kNullStructure, 3 * kHandle, {"getalarmstatefromalarmhandler"}}};

/** One record, if any, and no byte written but an error result and the field of a write handle's close. */
void expectRefused(const HandleRow& row, const void* handle, const std::string& message) {
  for (const std::string& function : row.functions) {
    fake::reset();
    alignas(8) char structure[160];
    std::memset(structure, 'Z', sizeof structure);
    std::memcpy(structure, &handle, kHandle);
    std::string expected(structure, sizeof structure);
    if (row.result >= 0) {
      expected.replace(std::size_t(row.result), 2, std::string("\x02\0", 2));
    }
    if (function == "closealarmlistwritehandle") {
      expected.replace(0, kHandle, kHandle, '\0');
    }
    void* request = structure;
    callNamed(function,
              function.find("entries") == std::string::npos ? structure : static_cast<void*>(&request));
    EXPECT_EQ(std::string(structure, sizeof structure), expected) << function << ": " << message;
    EXPECT_EQ(items(), message.empty() ? Lines{} : Lines{message}) << function;
  }
}

TEST_F(ComponentTest, AHandleThatIsNullStaleOrOfAnotherKindIsRefused) {
  std::optional<TavrolineEventlistRead> events;
  std::optional<TavrolineAlarmlistRead> alarms;
  std::optional<TavrolineAlarmHandler> handler;
  // The address of an optional is that of its object.
  const std::pair<std::string, const void*> handles[] = {
      {"EventlistReadHandle", &events}, {"AlarmlistReadHandle", &alarms}, {"AlarmlistWriteHandle", &handler}};
  for (const int round : {1, 2}) {
    events.emplace();
    alarms.emplace();
    handler.emplace(nullptr);
    fake::reset();
    EXPECT_EQ(call<haslistchanged_ext>(&events, 85).xListChanged, 0);
    EXPECT_EQ(call<loadcompleteeventlist_ext>(&events).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(call<loadcompletealarmlist_ext>(&alarms).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(&handler).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(items(), Lines{}) << "an address in use again is live in round 2: " << round;
    for (const bool open : {true, false}) {
      if (!open) {
        events.reset();
        alarms.reset();
        handler.reset();
      }
      for (const HandleRow& row : kHandleRows) {
        expectRefused(row, nullptr, row.null);
        expectRefused(row, &kHandleRows, std::string(row.kind) + " unknown");
        for (const auto& [kind, handle] : handles) {
          if (!open) {
            expectRefused(row, handle, std::string(row.kind) + " already closed");
          }
          if (open && kind.find(row.kind) == std::string::npos) {
            expectRefused(row, handle, std::string(row.kind) + " of another kind");
          }
        }
      }
    }
  }
}

TEST_F(ComponentTest, TheLastSixtyFourClosedHandlesAreKnownAsClosed) {
  TavrolineHandle handles[65];
  for (TavrolineHandle& handle : handles) {
    handle = call<openalarmlistwritehandle_ext>().hWriteHandle;
  }
  for (const TavrolineHandle handle : handles) {
    call<closealarmlistwritehandle_ext>(handle);
  }
  for (const int index : {0, 1, 64}) {
    call<closealarmlistwritehandle_ext>(handles[index]);
  }
  EXPECT_EQ(items(), (Lines{"AlarmlistWriteHandle unknown", "AlarmlistWriteHandle already closed",
                            "AlarmlistWriteHandle already closed"}));
}

TEST_F(ComponentTest, ANullStructureIsReportedWhereItIsNotIgnored) {
  const std::set<std::string> silent{"openeventlistreadhandle_ext", "openalarmlistreadhandle_ext",
                                     "deleteeventlist_ext", "closeeventlistreadhandle_ext",
                                     "closealarmlistreadhandle_ext"};
  int functions = 0;
  for (const auto* row = ExternalFunctionTable; row->pfFunction != nullptr; ++row, ++functions) {
    fake::reset();
    reinterpret_cast<void (*)(void*)>(row->pfFunction)(nullptr);
    EXPECT_EQ(items(), silent.count(row->pszName) == 1 ? Lines{} : Lines{kNullStructure}) << row->pszName;
  }
  EXPECT_EQ(functions, 38);
}

struct CopyFunctions : ReaderTest {};
INSTANTIATE_TEST_SUITE_P(Of, CopyFunctions, testing::Values(&kEventKind, &kAlarmKind));

TEST_P(CopyFunctions, CheckTheirRequestAndItsArray) {
  const Reader reader(kind);
  stGetEventlistEntriesType request{reader.handle, nullptr, 1, -1, -7};  // but for its array, the alarms' too
  for (auto* pointer : {static_cast<stGetEventlistEntriesType*>(nullptr), &request}) {
    callNamed(kind.list == "Eventlist" ? "geteventlistentries" : "getalarmlistentries", &pointer);
  }
  EXPECT_EQ(request.iResult, TAVROLINE_ERROR);
  EXPECT_EQ(request.diNumberOfEntries, -7);
  EXPECT_EQ(items(), (Lines{kNullStructure, "DBusPendingReply nullpointer"}));
  EXPECT_EQ(records().at(1), kind.className() + ": int16_t " + kind.className() + "::convert" + kind.list +
                                 "(int&, st" + kind.list + "EntryType*, int) const: convert" + kind.list +
                                 ": DBusPendingReply nullpointer");
}

}  // namespace
