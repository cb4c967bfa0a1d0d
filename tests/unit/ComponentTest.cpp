#include <algorithm>
#include <cstring>

#include "ExternalFunctionTable.h"
#include "UnitSupport.h"

namespace {

Lines s_runtimeCalls;
std::string s_failing;  // the call that fails

RTS_RESULT noted(const std::string& call) {
  s_runtimeCalls.push_back(call);
  return call == s_failing ? 42 : 0;
}

RTS_RESULT lookUp(const char* name, void** variable, std::uintptr_t option, std::uintptr_t signature,
                  std::uintptr_t version) {
  static const void* const variables[] = {&pfLogAdd,       &pfCMUtlMemCpy, &pfSysFileWrite,   &pfSysFileRead,
                                          &pfSysFileClose, &pfSysFileOpen, &pfCMUtlSafeStrCpy};
  EXPECT_EQ(variable, variables[s_runtimeCalls.size() % 7]) << name;
  EXPECT_EQ(signature + version, 0U);
  return noted(std::string(name) + " " + std::to_string(option));
}

RTS_RESULT registerTable(const ExternalFunctionEntry* table, std::uintptr_t reserved, std::uintptr_t external,
                         std::uintptr_t componentId) {
  EXPECT_EQ(componentId, kComponentId);
  EXPECT_EQ(reserved, 0U);
  const std::string name = table == ExternalFunctionTable ? "functions" : "empty table";
  while (table->pfFunction != nullptr) {
    ++table;
  }
  EXPECT_STREQ(table->pszName, "") << "the end row's name is empty, not null";
  EXPECT_EQ(table->ulSignatureId + table->ulVersion, 0U);
  return noted(name + ", external " + std::to_string(external));
}

struct RuntimeInterfaceTest : ComponentTest {
  RuntimeInterfaceTest() {
    record.pfRegisterApi = registerTable;
    record.pfGetApi = lookUp;
    ComponentEntry(&record);
  }
  ComponentInitRecord record{};
};

TEST_F(RuntimeInterfaceTest, FillsWordsZeroToSixOfTheRecordAndNothingElse) {
  std::uintptr_t words[15];
  std::fill_n(words, 15, std::uintptr_t{0x5A5A5A5A});
  EXPECT_EQ(ComponentEntry(reinterpret_cast<ComponentInitRecord*>(words)), 0);
  EXPECT_EQ(words[0], kComponentId);
  EXPECT_EQ(words[4] | words[5], 0U);
  EXPECT_EQ(std::count(words + 7, words + 15, std::uintptr_t{0x5A5A5A5A}), 8);
  EXPECT_EQ(record.pfGetVersion(), 0x01000104U);
  EXPECT_EQ(ComponentEntry(nullptr), 1);
}

TEST_F(RuntimeInterfaceTest, ImportsInItsOrderWhateverFailsAndReportsTheLastResult) {
  for (const char* failing : {"", "LogAdd 2", "CMUtlSafeStrCpy 0"}) {
    s_runtimeCalls.clear();
    s_failing = failing;
    EXPECT_EQ(record.pfImportFunctions(), s_failing == "CMUtlSafeStrCpy 0" ? 42U : 0U);
    EXPECT_EQ(s_runtimeCalls, (Lines{"LogAdd 2", "CMUtlMemCpy 2", "SysFileWrite 2", "SysFileRead 2",
                                     "SysFileClose 2", "SysFileOpen 2", "CMUtlSafeStrCpy 0"}));
  }
}

TEST_F(RuntimeInterfaceTest, ExportsTheFunctionsAndThenTheEmptyTable) {
  const std::string all = "functions, external 1";
  const std::string empty = "empty table, external 0";
  using Row = std::tuple<std::string, RTS_RESULT, Lines>;
  for (const auto& [failing, result, registered] :
       {Row{"", 0, {all, empty}}, Row{all, 42, {all}}, Row{empty, 42, {all, empty}}}) {
    s_runtimeCalls.clear();
    s_failing = failing;
    EXPECT_EQ(record.pfExportFunctions(), result);
    EXPECT_EQ(s_runtimeCalls, registered);
  }
  record.pfRegisterApi = nullptr;
  ComponentEntry(&record);
  EXPECT_EQ(record.pfExportFunctions(), 3U);
}

TEST_F(RuntimeInterfaceTest, PollsTheAlarmListAndThenTheEventListInTheCommunicationCycleOnly) {
  for (const std::uint32_t hook : {0U, 19U, 21U, 0x10014U}) {
    EXPECT_EQ(record.pfHookFunction(hook, 1, 2), 0U);
  }
  EXPECT_TRUE(fake::calls().empty());
  EXPECT_EQ(record.pfHookFunction(20, 1, 2), 0U);
  Lines asked;
  for (const fake::Call& call : fake::calls()) {
    asked.push_back(call.operation.substr(std::strlen("changedFlag")));
    EXPECT_EQ(call.arguments, QVariantList{true}) << "the device's bus";
  }
  EXPECT_EQ(asked, (Lines{"AlarmInAlarmlist", "ActiveAlarmInAlarmlist", "FaultInAlarmlist",
                          "ActiveFaultInAlarmlist", "Alarmlist", "CentralDetector", "Eventlist"}));
  failNextPlatformCall();
  EXPECT_EQ(record.pfHookFunction(20, 0, 0), 0U);
  EXPECT_EQ(items(), Lines{"exception:|of an unknown type"});
  EXPECT_EQ(fake::calls("changedFlagEventlist").size(), 2U) << "one list's failure is not the other's";
}

}  // namespace
