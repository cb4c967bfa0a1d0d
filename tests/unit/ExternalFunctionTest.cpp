#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <set>
#include <utility>

#include "ExternalFunctionRows.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "UnitSupport.h"

namespace {
bool s_outOfMemory = false;  // the next `new` fails
}

void* operator new(std::size_t size) {
  void* const memory = std::exchange(s_outOfMemory, false) ? nullptr : std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace {

using external::kNullStructure;
struct ExternalFunctionTest : ComponentTest {};

/** One record, if any; nothing is written but what a failure writes. */
void expectRefused(const external::Row& row, const void* handle, const std::string& message) {
  for (const std::string& function : row.names) {
    fake::reset();
    alignas(8) char structure[160];
    std::memset(structure, 'Z', sizeof structure);
    std::memcpy(structure, &handle, sizeof handle);
    std::string expected(structure, sizeof structure);
    expected.replace(row.failureOffset, row.failureBytes.size(), row.failureBytes);
    void* request = structure;
    external::call(external::functions(function + "_ext")[0], row.hasRequest() ? &request : request);
    EXPECT_EQ(std::string(structure, sizeof structure), expected) << function << ": " << message;
    EXPECT_EQ(items(), message.empty() ? Lines{} : Lines{message}) << function;
  }
}

TEST_F(ExternalFunctionTest, AHandleThatIsNullStaleOrOfAnotherKindIsRefused) {
  std::optional<TavrolineEventlistRead> events;
  std::optional<TavrolineAlarmlistRead> alarms;
  std::optional<TavrolineAlarmHandler> handler;
  // The address of an optional is that of its object.
  const std::pair<std::string, const void*> handles[] = {
      {"EventlistReadHandle", &events}, {"AlarmlistReadHandle", &alarms}, {"AlarmlistWriteHandle", &handler}};
  std::vector<external::Row> rows = external::kRows;
  rows.erase(std::remove_if(rows.begin(), rows.end(), [](const auto& row) { return row.kind.empty(); }),
             rows.end());
  for (const char* round : {"new address", "address in use again"}) {
    SCOPED_TRACE(round);
    events.emplace();
    alarms.emplace();
    handler.emplace(nullptr);
    fake::reset();
    EXPECT_EQ(call<loadcompleteeventlist_ext>(&events).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(call<loadcompletealarmlist_ext>(&alarms).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(&handler).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(items(), Lines{});
    for (const external::Row& row : rows) {
      expectRefused(row, nullptr, row.nullMessage);
      expectRefused(row, &rows, row.kind + " unknown");
      for (const auto& [kind, handle] : handles) {
        if (kind.find(row.kind) == std::string::npos) {
          expectRefused(row, handle, row.kind + " of another kind");
        }
      }
    }
    events.reset();
    alarms.reset();
    handler.reset();
    for (const external::Row& row : rows) {
      for (const auto& [kind, handle] : handles) {
        expectRefused(row, handle, row.kind + " already closed");
      }
    }
  }
}

TEST_F(ExternalFunctionTest, ARecordNamesTheFunctionThatWritesIt) {
  const std::set<std::string> withoutHandle{"logevent_ext", "deleteeventlist_ext",
                                            "acknowledgevisualalarm_ext", "acknowledgecentraldetector_ext"};
  for (const ExternalFunctionEntry& function : external::functions()) {
    const std::string name = function.pszName;
    void* structure[20] = {structure, structure, structure};  // an unknown handle; its own request
    fake::reset();
    if (withoutHandle.count(name) != 0) {
      failNextPlatformCall();
    }
    s_outOfMemory = name.find("open") == 0;
    external::call(function, structure);
    if (name.find("open") == 0) {
      EXPECT_EQ(structure[0], structure) << "success unchanged";
      EXPECT_EQ(structure[1], nullptr) << "no handle";
    }
    const Lines written = records();
    ASSERT_EQ(written.size(), 1U) << name;
    const std::string signature = "void " + name + "(" + name.substr(0, name.size() - 3) + "struct*)";
    EXPECT_NE(written[0].find(": " + signature + ": "), written[0].npos) << written[0];
  }
}

TEST_F(ExternalFunctionTest, ANullStructureRequestOrArrayIsReportedWhereItIsNotIgnored) {
  const std::set<std::string> silent{"openeventlistreadhandle_ext", "openalarmlistreadhandle_ext",
                                     "deleteeventlist_ext", "closeeventlistreadhandle_ext",
                                     "closealarmlistreadhandle_ext"};
  for (const ExternalFunctionEntry& function : external::functions()) {
    fake::reset();
    external::call(function, nullptr);
    const std::string name = function.pszName;
    EXPECT_EQ(items(), silent.count(name) == 1 ? Lines{} : Lines{kNullStructure}) << name;
  }
  for (const auto& [kind, name] :
       {std::pair(kEventKind, "geteventlistentries_ext"), std::pair(kAlarmKind, "getalarmlistentries_ext")}) {
    const Reader reader(kind);
    stGetEventlistEntriesType request{reader.handle, nullptr, 1, -1, -7};  // the alarms' but for its array
    fake::reset();
    for (void* pointer : {static_cast<void*>(nullptr), static_cast<void*>(&request)}) {
      external::call(external::functions(name)[0], &pointer);
    }
    EXPECT_EQ(request.iResult, TAVROLINE_ERROR);
    EXPECT_EQ(request.diNumberOfEntries, -7);
    EXPECT_EQ(items(), (Lines{kNullStructure, "DBusPendingReply nullpointer"}));
    EXPECT_EQ(
        records().back().find(kind.className() + ": int16_t " + kind.className() + "::convert" + kind.list),
        0U);
  }
}

}  // namespace
