#include "TavrolineAlarmlistRead.h"

#include <cstring>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, AnAlarmListEntryIsWrittenToItsBytesAndNoFurther) {
  Reader reader(kAlarmKind);
  reader.load(R"([{"AlarmActive":true,"AlarmAcknowledgment":false,"AlarmID":"{id}","EventType":2,
      "IconType":"fault-on","LocalTime":"2024-05-01T10:00:00.000Z","ModuleName":"Pümpe","Description":"ä"}])");
  constexpr char kFill = '\x5A';
  std::vector<stAlarmlistEntryType> entries(2);
  std::memset(static_cast<void*>(entries.data()), kFill, 2 * 768);
  stGetAlarmlistEntriesType request{reader.handle(), entries.data(), 2, -1, -1};
  getalarmlistentries_struct parameters{&request};
  getalarmlistentries_ext(&parameters);
  EXPECT_EQ(request.iResult, TAVROLINE_DONE);
  EXPECT_EQ(request.diNumberOfEntries, 1);

  std::string expected(2 * 768, kFill);
  expected.replace(0, 2, std::string("\0\x01", 2));
  expected.replace(2, 5, std::string("{id}\0", 5));
  expected.replace(84, 2, std::string("\x02\0", 2));
  expected.replace(86, 9, std::string("fault-on\0", 9));
  expected.replace(168, 4, "\xA0\x12\x32\x66");  // 1714557600
  expected.replace(172, 7, std::string("P\xC3\xBCmpe\0", 7));
  expected.replace(254, 4, std::string("\xE4\0\0\0", 4));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(entries.data()), 2 * 768), expected);
}

// Which of the five entries below pass, by the two filters: -1 none set, otherwise the BOOL that sets it.
TEST_F(ComponentTest, BothStateFiltersMustHoldAndTakeOnlyBooleans) {
  Reader reader(kAlarmKind);
  reader.load(R"([{"ModuleName":"1","AlarmActive":true,"AlarmAcknowledgment":true},
                  {"ModuleName":"2","AlarmActive":true,"AlarmAcknowledgment":false},
                  {"ModuleName":"3","AlarmActive":false,"AlarmAcknowledgment":true},
                  {"ModuleName":"4"},
                  {"ModuleName":"5","AlarmActive":1,"AlarmAcknowledgment":"true"}])");
  const struct {
    int active;
    int acknowledged;
    const char* passing;
  } rows[] = {{-1, -1, "12345"}, {1, -1, "12"}, {0, -1, "345"}, {-1, 1, "13"}, {-1, 0, "245"},
              {1, 1, "1"},       {1, 0, "2"},   {0, 1, "3"},    {0, 0, "45"},  {2, -128, "1"}};
  for (const auto& row : rows) {
    setfilterstatealarm_struct active{reader.handle(), static_cast<RTS_IEC_BOOL>(row.active)};
    resetfilterstatealarm_struct anyActive{reader.handle()};
    row.active == -1 ? resetfilterstatealarm_ext(&anyActive) : setfilterstatealarm_ext(&active);
    setfilterstateacknowledge_struct acknowledged{reader.handle(),
                                                  static_cast<RTS_IEC_BOOL>(row.acknowledged)};
    resetfilterstateacknowledge_struct anyAcknowledged{reader.handle()};
    row.acknowledged == -1 ? resetfilterstateacknowledge_ext(&anyAcknowledged)
                           : setfilterstateacknowledge_ext(&acknowledged);
    resetfilterall_struct common{reader.handle()};
    resetfilterall_ext(&common);  // leaves these two alone
    stAlarmlistEntryType entries[5];
    int count = 0;
    static_cast<TavrolineAlarmlistRead*>(reader.handle())->convertAlarmlist(count, entries, 5);
    std::string passing;
    for (int i = 0; i < count; ++i)
      passing += entries[i].sModuleName;
    EXPECT_EQ(passing, row.passing) << row.active << " " << row.acknowledged;
  }
}

template <typename Struct, void (*Function)(Struct*), RTS_IEC_BOOL Struct::*Flag>
int flagOf(Reader& reader) {
  Struct query{};
  query.hReadHandle = reader.handle();
  query.*Flag = 85;
  Function(&query);
  return query.*Flag;
}

// The four summary flags and the detector state as digits, in the order in which the service is asked.
std::string flags(Reader& reader) {
  const int values[] = {flagOf<isalarminalarmlist_struct, isalarminalarmlist_ext,
                               &isalarminalarmlist_struct::xAlarmInAlarmlist>(reader),
                        flagOf<isactivealarminalarmlist_struct, isactivealarminalarmlist_ext,
                               &isactivealarminalarmlist_struct::xActiveAlarmInAlarmlist>(reader),
                        flagOf<isfaultinalarmlist_struct, isfaultinalarmlist_ext,
                               &isfaultinalarmlist_struct::xFaultInAlarmlist>(reader),
                        flagOf<isactivefaultinalarmlist_struct, isactivefaultinalarmlist_ext,
                               &isactivefaultinalarmlist_struct::xActiveFaultInAlarmlist>(reader),
                        flagOf<getcentraldetectorstate_struct, getcentraldetectorstate_ext,
                               &getcentraldetectorstate_struct::xCentralDetectorState>(reader)};
  std::string digits;
  for (const int value : values)
    digits += std::to_string(value);
  return digits;
}

TEST_F(ComponentTest, SummaryFlagsBelongToAllReadersAndTheDetectorToEach) {
  const char* const kOrder[] = {"changedFlagAlarmInAlarmlist", "changedFlagActiveAlarmInAlarmlist",
                                "changedFlagFaultInAlarmlist", "changedFlagActiveFaultInAlarmlist",
                                "changedFlagAlarmlist",        "changedFlagCentralDetector"};
  TavrolineAlarmlistRead::pollDBusSignals();
  std::vector<std::string> order;
  for (const fake::Call& call : fake::calls())
    order.push_back(call.operation);
  EXPECT_EQ(order, std::vector<std::string>(std::begin(kOrder), std::end(kOrder)));

  Reader early(kAlarmKind);
  EXPECT_EQ(flags(early), "00000");
  const struct {
    std::vector<std::pair<int, bool>> changes;  // index into kOrder, new value
    const char* earlyFlags;
    const char* lateFlags;
  } rows[] = {{{{0, true}}, "10000", "10000"},
              {{{1, true}, {2, true}}, "11100", "11100"},  // a true answer must not leak into the next flag
              {{{2, false}, {3, true}}, "11010", "11010"},
              {{}, "11010", "11010"},
              {{{4, true}}, "11010", "11010"},
              {{{3, false}, {5, true}}, "11001", "11000"},
              {{{0, false}, {1, false}, {5, false}}, "00000", "00000"}};
  for (const auto& row : rows) {
    for (const auto& change : row.changes)
      fake::change(kOrder[change.first], change.second);
    TavrolineAlarmlistRead::pollDBusSignals();
    Reader late(kAlarmKind);
    EXPECT_EQ(flags(early), row.earlyFlags);
    EXPECT_EQ(flags(late), row.lateFlags);
  }
}

}  // namespace
