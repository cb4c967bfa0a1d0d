#include "TavrolineAlarmlistRead.h"

#include <cstring>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, AnAlarmListEntryIsWrittenToItsBytesAndNoFurther) {
  const Reader reader(kAlarmKind);
  reader.load(R"([{"AlarmActive":true,"AlarmAcknowledgment":false,"AlarmID":"{id}","EventType":2,
      "IconType":"fault-on","LocalTime":"2024-05-01T10:00:00.000Z","ModuleName":"Pümpe","Description":"ä"}])");
  std::string expected(std::size_t{2} * 768, '\x5A');
  stAlarmlistEntryType entries[2];
  std::memcpy(static_cast<void*>(entries), expected.data(), sizeof entries);
  stGetAlarmlistEntriesType request{reader.handle, entries, 2, -1, -1};
  call<getalarmlistentries_ext>(&request);
  EXPECT_EQ(request.diNumberOfEntries, 1);
  expected.replace(0, 7, std::string("\0\x01{id}\0", 7));
  expected.replace(84, 11, std::string("\x02\0fault-on\0", 11));
  expected.replace(168, 4, "\xA0\x12\x32\x66");  // 1714557600
  expected.replace(172, 7, std::string("P\xC3\xBCmpe\0", 7));
  expected.replace(254, 4, std::string("\xE4\0\0\0", 4));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(entries), sizeof entries), expected);
}

TEST_F(ComponentTest, BothStateFiltersMustHoldAndTakeOnlyBooleans) {
  const Reader reader(kAlarmKind);
  reader.load(R"([{"ModuleName":"1","AlarmActive":true,"AlarmAcknowledgment":true},
                  {"ModuleName":"2","AlarmActive":true,"AlarmAcknowledgment":false},
                  {"ModuleName":"3","AlarmActive":false,"AlarmAcknowledgment":true},
                  {"ModuleName":"4"},
                  {"ModuleName":"5","AlarmActive":1,"AlarmAcknowledgment":"true"}])");
  constexpr int kAny = 99;
  const std::tuple<int, int, const char*> rows[] = {
      {kAny, kAny, "12345"}, {1, kAny, "12"}, {0, kAny, "345"}, {kAny, 1, "13"}, {kAny, 0, "245"},
      {1, 1, "1"},           {1, 0, "2"},     {0, 1, "3"},      {0, 0, "45"},    {2, -128, "1"}};
  for (const auto& [active, acknowledged, passing] : rows) {
    if (active != kAny) call<setfilterstatealarm_ext>(reader.handle, active);
    if (acknowledged != kAny) call<setfilterstateacknowledge_ext>(reader.handle, acknowledged);
    call<resetfilterall_ext>(reader.handle);  // leaves these two alone
    stAlarmlistEntryType entries[5];
    stGetAlarmlistEntriesType request{reader.handle, entries, 5, -1, -1};
    call<getalarmlistentries_ext>(&request);
    std::string modules;
    for (int i = 0; i < request.diNumberOfEntries; ++i)
      modules += entries[i].sModuleName;
    EXPECT_EQ(modules, passing) << active << " " << acknowledged;
    call<resetfilterstatealarm_ext>(reader.handle);
    call<resetfilterstateacknowledge_ext>(reader.handle);
  }
}

/** The four summary flags and the detector state as digits, in the order in which the service is asked. */
std::string flags(const Reader& reader) {
  const TavrolineHandle handle = reader.handle;
  std::string digits;
  for (const RTS_IEC_BOOL value : {call<isalarminalarmlist_ext>(handle, 85).xAlarmInAlarmlist,
                                   call<isactivealarminalarmlist_ext>(handle, 85).xActiveAlarmInAlarmlist,
                                   call<isfaultinalarmlist_ext>(handle, 85).xFaultInAlarmlist,
                                   call<isactivefaultinalarmlist_ext>(handle, 85).xActiveFaultInAlarmlist,
                                   call<getcentraldetectorstate_ext>(handle, 85).xCentralDetectorState}) {
    digits += std::to_string(value);
  }
  return digits;
}

TEST_F(ComponentTest, SummaryFlagsBelongToAllReadersAndTheDetectorToEach) {
  const Lines order = {"changedFlagAlarmInAlarmlist", "changedFlagActiveAlarmInAlarmlist",
                       "changedFlagFaultInAlarmlist", "changedFlagActiveFaultInAlarmlist",
                       "changedFlagAlarmlist",        "changedFlagCentralDetector"};
  TavrolineAlarmlistRead::pollDBusSignals();
  Lines asked;
  for (const fake::Call& call : fake::calls())
    asked.push_back(call.operation);
  EXPECT_EQ(asked, order);

  const Reader early(kAlarmKind);
  EXPECT_EQ(flags(early), "00000");
  using Changes = std::vector<std::pair<std::size_t, bool>>;  // index into the order, new value
  const std::tuple<Changes, const char*, const char*> rows[] = {
      {{{0, true}}, "10000", "10000"},
      {{{1, true}, {2, true}}, "11100", "11100"},
      {{{2, false}, {3, true}}, "11010", "11010"},
      {{{4, true}}, "11010", "11010"},
      {{{3, false}, {5, true}}, "11001", "11000"},
      {{{0, false}, {1, false}, {5, false}}, "00000", "00000"}};
  for (const auto& [changes, earlyFlags, lateFlags] : rows) {
    for (const auto& [index, value] : changes)
      fake::change(order[index], value);
    TavrolineAlarmlistRead::pollDBusSignals();
    EXPECT_EQ(flags(early), earlyFlags);
    EXPECT_EQ(flags(Reader(kAlarmKind)), lateFlags);
  }
}

}  // namespace
