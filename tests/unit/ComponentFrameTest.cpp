#include <algorithm>

#include "StringHash.h"
#include "UnitSupport.h"

namespace {

using Lines = std::vector<std::string>;

Lines g_runtimeCalls;
std::string g_failing;  // name of the import, or number of the registration, that fails

RTS_RESULT lookUp(const char* name, void** variable, std::uintptr_t option, std::uintptr_t signature,
                  std::uintptr_t version) {
  g_runtimeCalls.push_back(std::string(name) + " " + std::to_string(option) + " " +
                           std::to_string(signature) + " " + std::to_string(version));
  if (g_failing == name) return 42;
  *variable = const_cast<char*>(name);
  return 0;
}

RTS_RESULT registerTable(const ExternalFunctionEntry* table, std::uintptr_t reserved, std::uintptr_t external,
                         std::uintptr_t componentId) {
  EXPECT_EQ(componentId, (hashFromString("Tavroline"_q) & 0xFFFFU) | 0x1B4E3000U);
  int rows = 0;
  while (table[rows].pfFunction != nullptr)
    ++rows;
  EXPECT_STREQ(table[rows].pszName, "") << "the end row's name is empty, not null";
  EXPECT_EQ(table[rows].ulSignatureId + table[rows].ulVersion, 0U);
  g_runtimeCalls.push_back(std::to_string(rows) + " rows " + std::to_string(reserved) + " " +
                           std::to_string(external));
  return g_failing == std::to_string(g_runtimeCalls.size()) ? 42 : 0;
}

class ComponentFrame : public ComponentTest {
 protected:
  ComponentFrame() {
    g_runtimeCalls.clear();
    g_failing.clear();
    m_record.pfRegisterApi = registerTable;
    m_record.pfGetApi = lookUp;
    enter();
  }
  ~ComponentFrame() override {
    for (void** variable : variables())
      *variable = nullptr;
  }
  void enter() { EXPECT_EQ(ComponentEntry(&m_record), 0); }

  static std::vector<void**> variables() {
    return {reinterpret_cast<void**>(&pfLogAdd),         reinterpret_cast<void**>(&pfCMUtlMemCpy),
            reinterpret_cast<void**>(&pfSysFileWrite),   reinterpret_cast<void**>(&pfSysFileRead),
            reinterpret_cast<void**>(&pfSysFileClose),   reinterpret_cast<void**>(&pfSysFileOpen),
            reinterpret_cast<void**>(&pfCMUtlSafeStrCpy)};
  }

  ComponentInitRecord m_record{};
};

const Lines kImports = {"LogAdd 2 0 0",         "CMUtlMemCpy 2 0 0",  "SysFileWrite 2 0 0",
                        "SysFileRead 2 0 0",    "SysFileClose 2 0 0", "SysFileOpen 2 0 0",
                        "CMUtlSafeStrCpy 0 0 0"};

TEST_F(ComponentFrame, FillsWordsZeroToSixOfTheRecordAndNothingElse) {
  std::uintptr_t words[15];
  std::fill_n(words, 15, std::uintptr_t{0x5A5A5A5A});
  EXPECT_EQ(ComponentEntry(reinterpret_cast<ComponentInitRecord*>(words)), 0);
  EXPECT_EQ(words[0] >> 16U, 0x1B4EU);
  EXPECT_EQ(words[0] & 0x3000U, 0x3000U);
  EXPECT_EQ(words[4] | words[5], 0U);
  for (const int kept : {7, 8, 9, 10, 11, 12, 13, 14})
    EXPECT_EQ(words[kept], 0x5A5A5A5AU) << kept;
  EXPECT_EQ(m_record.pfGetVersion(), 0x01000104U);
  EXPECT_TRUE(g_runtimeCalls.empty());
  EXPECT_EQ(ComponentEntry(nullptr), 1);
}

TEST_F(ComponentFrame, ImportsInItsOrderWhateverFailsAndReportsTheLastResult) {
  for (const char* failing : {"", "LogAdd", "CMUtlSafeStrCpy"}) {
    g_runtimeCalls.clear();
    g_failing = failing;
    for (void** variable : variables())
      *variable = nullptr;
    EXPECT_EQ(m_record.pfImportFunctions(), g_failing == "CMUtlSafeStrCpy" ? 42U : 0U);
    EXPECT_EQ(g_runtimeCalls, kImports);
    for (std::size_t i = 0; i < kImports.size(); ++i) {
      const std::string name = kImports[i].substr(0, kImports[i].find(' '));
      const char* const found = static_cast<const char*>(*variables()[i]);
      EXPECT_EQ(found == nullptr ? "" : found, g_failing == name ? "" : name);
    }
  }
}

TEST_F(ComponentFrame, ExportsTheFunctionsAndThenTheEmptyTable) {
  const struct {
    const char* failing;
    RTS_RESULT result;
    Lines registered;
  } rows[] = {{"", 0, {"38 rows 0 1", "0 rows 0 0"}},
              {"1", 42, {"38 rows 0 1"}},
              {"2", 42, {"38 rows 0 1", "0 rows 0 0"}}};
  for (const auto& row : rows) {
    g_runtimeCalls.clear();
    g_failing = row.failing;
    EXPECT_EQ(m_record.pfExportFunctions(), row.result);
    EXPECT_EQ(g_runtimeCalls, row.registered);
  }
  g_runtimeCalls.clear();
  m_record.pfRegisterApi = nullptr;
  enter();
  EXPECT_EQ(m_record.pfExportFunctions(), 3U);
  EXPECT_TRUE(g_runtimeCalls.empty());
}

TEST_F(ComponentFrame, PollsTheAlarmListAndThenTheEventListAndOnlyInTheCommunicationCycle) {
  for (const std::uint32_t hook : {0U, 19U, 21U, 0x10014U, 0xFFFFFFFFU}) {
    EXPECT_EQ(m_record.pfHookFunction(hook, 1, 2), 0U);
  }
  EXPECT_TRUE(fake::calls().empty());
  EXPECT_EQ(m_record.pfHookFunction(20, 1, 2), 0U);
  const auto calls = fake::calls();
  ASSERT_EQ(calls.size(), 7U);
  EXPECT_EQ(calls.front().operation, "changedFlagAlarmInAlarmlist");
  EXPECT_EQ(calls.back().operation, "changedFlagEventlist");
}

TEST_F(ComponentFrame, LetsNoExceptionOutOfTheHook) {
  fake::fail("changedFlagAlarmlist", fake::Failure::Throw);
  EXPECT_NO_THROW(EXPECT_EQ(m_record.pfHookFunction(20, 0, 0), 0U));
  EXPECT_EQ(records().size(), 1U);
}

TEST_F(ComponentFrame, ConstructsItsSharedClientsInTheirOrderWhenLoaded) {
  Lines loaded;
  for (const fake::Call& call : fake::loadCalls()) {
    loaded.push_back(call.operation);
    EXPECT_EQ(call.arguments, QVariantList{true});
  }
  EXPECT_EQ(loaded, (Lines{"EventlistHandlerDBusConnectorRead", "AlarmlistHandlerDBusConnectorRead",
                           "AlarmlistHandlerDBusConnectorRead"}));
  Reader reader(kAlarmKind);
  OpenAlarmHandle handle;
  reader.load();
  getalarmstatefromalarmhandler_struct query{handle.hWriteHandle, nullptr, nullptr, -1};
  getalarmstatefromalarmhandler_ext(&query);
  EXPECT_EQ(fake::calls("getCompleteAlarmlist")[0].object, fake::loadCalls()[1].object);
  EXPECT_EQ(fake::calls("getAlarmState")[0].object, fake::loadCalls()[2].object) << "a client of their own";
}

}  // namespace
