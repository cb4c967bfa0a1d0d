#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <new>
#include <optional>
#include <set>

#include "ExternalFunctionTable.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "UnitSupport.h"

namespace {
thread_local bool t_outOfMemory = false;  // the next `new` fails
}

void* operator new(std::size_t size) {
  void* const memory = t_outOfMemory ? nullptr : std::malloc(size);
  t_outOfMemory = false;
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

struct ExternalFunctionTest : ComponentTest {};

constexpr char kNullStructure[] = "codesys struct nullpointer";

/** The functions of the table by name. */
std::map<std::string, void (*)(void*)> functions() {
  std::map<std::string, void (*)(void*)> all;
  for (const ExternalFunctionEntry* row = ExternalFunctionTable; row->pfFunction != nullptr; ++row) {
    all[row->pszName] = reinterpret_cast<void (*)(void*)>(row->pfFunction);
  }
  return all;
}

/** The functions that take a handle as the first field of their structure, or of its request. */
struct HandleRow {
  const char* kind;
  const char* nullMessage;  ///< empty: a null handle is ignored
  int result;               ///< offset of iResult, or -1
  Lines functions;
};
constexpr int kHandle = sizeof(TavrolineHandle);
constexpr int kRequestResult = 2 * kHandle + 4;
constexpr char kNullEvents[] = "EventlistReadHandle nullpointer";
constexpr char kNullAlarms[] = "AlarmlistReadHandle nullpointer";
// clang-format off
const HandleRow kHandleRows[] = {
    {"ReadHandle", kNullEvents, -1,
     {"setlistreadlanguage", "setfiltertime", "resetlistchanged", "resetfiltertime", "resetfilterkeyword",
      "resetfiltereventtype", "resetfilterall", "haslistchanged", "clearfilterkeyword", "clearfiltereventtype",
      "addfilterkeyword", "addfiltereventtype"}},
    {"AlarmlistReadHandle", kNullAlarms, -1,
     {"setfilterstatealarm", "setfilterstateacknowledge", "resetfilterstatealarm", "resetfilterstateacknowledge",
      "isfaultinalarmlist", "isalarminalarmlist", "isactivefaultinalarmlist", "isactivealarminalarmlist",
      "getcentraldetectorstate"}},
    {"EventlistReadHandle", kNullEvents, kHandle, {"loadcompleteeventlist"}},
    {"EventlistReadHandle", kNullEvents, kHandle + 2, {"loadpartofeventlist"}},
    {"EventlistReadHandle", kNullEvents, kRequestResult, {"geteventlistentries"}},
    {"EventlistReadHandle", "", -1, {"closeeventlistreadhandle"}},
    {"AlarmlistReadHandle", kNullAlarms, kHandle, {"loadcompletealarmlist"}},
    {"AlarmlistReadHandle", kNullAlarms, kRequestResult, {"getalarmlistentries"}},
    {"AlarmlistReadHandle", "", -1, {"closealarmlistreadhandle"}},
    {"AlarmlistWriteHandle", kNullStructure, -1, {"logalarm", "closealarmlistwritehandle"}},
    {"AlarmlistWriteHandle", kNullStructure, 3 * kHandle, {"getalarmstatefromalarmhandler"}}};
// clang-format on

/** One record, if any; no byte written but an error result and the field of a write handle's close. */
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
    functions().at(function + "_ext")(row.result == kRequestResult ? &request : request);
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
  for (const char* round : {"new address", "address in use again"}) {
    SCOPED_TRACE(round);
    events.emplace();
    alarms.emplace();
    handler.emplace(nullptr);
    fake::reset();
    EXPECT_EQ(call<haslistchanged_ext>(&events, 85).xListChanged, 0);
    EXPECT_EQ(call<loadcompleteeventlist_ext>(&events).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(call<loadcompletealarmlist_ext>(&alarms).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(&handler).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(items(), Lines{});
    for (const HandleRow& row : kHandleRows) {
      expectRefused(row, nullptr, row.nullMessage);
      expectRefused(row, &kHandleRows, std::string(row.kind) + " unknown");
      for (const auto& [kind, handle] : handles) {
        if (kind.find(row.kind) == std::string::npos) {
          expectRefused(row, handle, std::string(row.kind) + " of another kind");
        }
      }
    }
    events.reset();
    alarms.reset();
    handler.reset();
    for (const HandleRow& row : kHandleRows) {
      for (const auto& [kind, handle] : handles) {
        expectRefused(row, handle, std::string(row.kind) + " already closed");
      }
    }
  }
}

/** The function that has this line in a source file of the component, as it begins there. */
std::string functionAt(const QString& file, int line) {
  std::ifstream source(TAVROLINE_COMPONENT "/" + file.toStdString() + ".cpp");
  std::string function;
  for (std::string text; line > 0 && std::getline(source, text); --line) {
    if (text.find("void ") == 0 || text == "}") {
      function = text;
    }
  }
  return line == 0 ? function : "behind the end";
}

TEST_F(ExternalFunctionTest, ARecordNamesTheFunctionThatWritesItAndOneOfItsLines) {
  const std::set<std::string> withoutHandle{"logevent_ext", "deleteeventlist_ext",
                                            "acknowledgevisualalarm_ext", "acknowledgecentraldetector_ext"};
  for (const auto& [name, function] : functions()) {
    const void* structure[20] = {structure, structure, structure};  // an unknown handle; its own request
    fake::reset();
    fake::throwAt(int(withoutHandle.count(name)));
    t_outOfMemory = name.find("open") == 0;
    function(structure);
    if (name.find("open") == 0) {
      EXPECT_EQ(structure[0], structure) << "success unchanged";
      EXPECT_EQ(structure[1], nullptr) << "no handle";
    }
    const auto records = fake::calls("CodesysLog");
    ASSERT_EQ(records.size(), 1U) << name;
    const QVariantList& record = records[0].arguments;
    const std::string begin = "void " + name + "(" + name.substr(0, name.size() - 3) + "struct*";
    EXPECT_EQ(record[7].toString().toStdString(), begin + ")");
    EXPECT_EQ(functionAt(record[6].toString(), record[8].toInt()).substr(0, begin.size()), begin);
  }
}

TEST_F(ExternalFunctionTest, ANullStructureRequestOrArrayIsReportedWhereItIsNotIgnored) {
  const std::set<std::string> silent{"openeventlistreadhandle_ext", "openalarmlistreadhandle_ext",
                                     "deleteeventlist_ext", "closeeventlistreadhandle_ext",
                                     "closealarmlistreadhandle_ext"};
  for (const auto& [name, function] : functions()) {
    fake::reset();
    function(nullptr);
    EXPECT_EQ(items(), silent.count(name) == 1 ? Lines{} : Lines{kNullStructure}) << name;
  }
  for (const auto& [kind, name] :
       {std::pair(kEventKind, "geteventlistentries_ext"), std::pair(kAlarmKind, "getalarmlistentries_ext")}) {
    const Reader reader(kind);
    stGetEventlistEntriesType request{reader.handle, nullptr, 1, -1, -7};  // the alarms' but for its array
    fake::reset();
    for (void* pointer : {static_cast<void*>(nullptr), static_cast<void*>(&request)}) {
      functions().at(name)(&pointer);
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
