#include "ReaderGroup.h"

#include <cstring>

#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "UnitSupport.h"

namespace {

/** The one BOOL that a function gives, as a digit. */
template <auto Function>
std::string flag(const Reader& reader) {
  const auto [handle, value] = call<Function>(reader.handle, 85);
  return std::to_string(value);
}
constexpr auto kChanged = flag<haslistchanged_ext>;

// Both readers through the external functions: what they do alike, then what each has for itself.
struct Readers : ReaderTest {
  static void poll() {
    TavrolineAlarmlistRead::pollDBusSignals();
    TavrolineEventlistRead::pollDBusSignals();
  }
};
INSTANTIATE_TEST_SUITE_P(Of, Readers, testing::Values(&kEventKind, &kAlarmKind));

TEST_P(Readers, CopyWhatPassesTheFilterUpToTheCapacity) {
  const Reader reader(kind);
  reader.load(R"([{"EventType":3},{},5,{"EventType":3},{"EventType":65539},"x",{"EventType":3}])");
  EXPECT_EQ(reader.count(), 7);
  call<addfiltereventtype_ext>(reader.handle, 3);
  for (const int capacity : {-1, 0, 2, 3, 4, 7}) {
    EXPECT_EQ(reader.count(capacity), qBound(0, capacity, 3));
  }
}

TEST_P(Readers, LearnOfAChangeWhenTheyAreOpenAtThatMoment) {
  poll();
  EXPECT_EQ(fake::calls(kind.changed()).size(), 1U) << "asked even with no reader";
  const Reader first(kind);
  const Reader second(kind);
  EXPECT_EQ(kChanged(Reader(kind)), "0") << "and closed: the others stay served";
  fake::change(kind.changed());
  poll();
  EXPECT_EQ(fake::calls(kind.changed()).size(), 2U) << "and once for both";
  EXPECT_EQ(kChanged(first) + kChanged(second) + kChanged(Reader(kind)), "110");
  call<resetlistchanged_ext>(first.handle);
  second.load("[]");
  poll();
  EXPECT_EQ(kChanged(first) + kChanged(second), "01") << "a false answer or a load changes nothing";
}

TEST_F(ComponentTest, OddMembersOfTheReaderListAreReported) {
  struct Twice : TavrolineEventlistRead {
    Twice() { sm_AccessEventlistInstancePointers << nullptr << this; }
    ~Twice() override { sm_AccessEventlistInstancePointers.removeAll(nullptr); }
  };
  {
    const Twice reader;
    TavrolineEventlistRead::pollDBusSignals();
  }
  EXPECT_EQ(records(), Lines{"TavrolineEventlistRead: static void TavrolineEventlistRead::pollDBusSignals(): "
                             "Nullpointer access"});
  EXPECT_EQ(messages(),
            Lines{"qWarning: TavrolineEventlistRead: virtual TavrolineEventlistRead::"
                  "~TavrolineEventlistRead(): Tavroline Not one entry removed. Nr of removed entrys: 2"});
}

TEST_F(ComponentTest, APartOfTheEventListIsAskedForByItsCountAlone) {
  const QStringList none;
  for (const int count : {65535, 0}) {
    const Reader reader(kEventKind);
    for (const int now : {count, 7}) {  // the later one is ignored
      EXPECT_EQ(call<loadpartofeventlist_ext>(reader.handle, now).iResult, TAVROLINE_BUSY);
    }
    EXPECT_EQ(fake::calls("getCompleteEventlist").size(), count == 0 ? 1U : 0U);
  }
  ASSERT_EQ(fake::calls("getPartOfEventlist").size(), 1U);
  EXPECT_EQ(fake::calls("getPartOfEventlist")[0].arguments,
            (QVariantList{""_q, none, none, none, none, QDateTime(), QDateTime(), none, 65535}));
}

/** Copy one entry, of this JSON text, and compare it and the element behind it with the expected bytes. */
void expectBytes(const ReaderKind& kind, const QByteArray& json, std::size_t size,
                 const std::vector<std::pair<std::size_t, std::string>>& fields) {
  const Reader reader(kind);
  reader.load("[" + json + "]");
  std::string expected(2 * size, 'Z');
  for (const auto& [offset, bytes] : fields) {
    expected.replace(offset, bytes.size(), bytes);
  }
  const Copied copied = kind.copy(reader.handle, 2);
  EXPECT_EQ(copied.count, 1);
  EXPECT_EQ(copied.bytes.substr(0, 2 * size), expected);
}

TEST_F(ComponentTest, AnEntryIsWrittenToItsBytesAndNoFurther) {
  using namespace std::string_literals;
  const QByteArray text(300, 'x');
  expectBytes(
      kEventKind,
      R"({"EventlistId":70000,"EventType":3,"IconType":"event-on","ModuleName":")" + text + R"(","User":")" +
          text + R"(","LocalTime":"2024-05-01T12:00:00.999+02:00","Description":"ä😀","Keywords":["k"]})",
      856,
      {{0, "\x70\x11\0\0\0\0\0\0"s},  // 70000 - 65536 = 0x1170
       {8, "\x03\0event-on\0"s},
       {92, "\xA0\x12\x32\x66"},  // 1714557600
       {96, std::string(80, 'x') + '\0'},
       {178, "\xE4\0\x3D\xD8\0\xDE\0\0"s},
       {690, std::string(reinterpret_cast<const char*>(QString(80, QLatin1Char('x')).utf16()), 162)}});
  expectBytes(kAlarmKind,
              R"({"AlarmActive":true,"AlarmAcknowledgment":false,"AlarmID":"{id}","EventType":2,
      "IconType":"fault-on","LocalTime":"2024-05-01T10:00:00.000Z","ModuleName":"Pümpe","Description":"ä"})",
              768,
              {{0, "\0\x01{id}\0"s},
               {84, "\x02\0fault-on\0"s},
               {168, "\xA0\x12\x32\x66"},
               {172, "P\xC3\xBCmpe\0"s},
               {254, "\xE4\0\0\0"s}});
}

TEST_F(ComponentTest, AnEventListEntryTakesOnlyValuesOfTheRightKind) {
  const Reader reader(kEventKind);
  reader.load(R"([{}, {"EventlistId":-1,"EventType":-1}, {"EventlistId":4294967301,"EventType":65539},
      {"EventlistId":2.5,"EventType":2.5}, {"EventlistId":1e300,"EventType":1e300},
      {"EventlistId":"7","EventType":"3"}, {"EventlistId":true,"EventType":true,"LocalTime":5},
      {"LocalTime":"2106-02-07T06:28:16.000Z"}, {"LocalTime":"1969-12-31T23:59:59.000Z"}])");
  using Row = std::tuple<unsigned int, int, unsigned int>;
  const Row expected[9] = {{}, {65535, -1, 0}, {5, 3, 0}, {}, {}, {}, {}, {0, 0, 0xFFFFFFFF}, {}};
  stEventlistEntryType entries[9];
  std::memcpy(static_cast<void*>(entries), kEventKind.copy(reader.handle, 9).bytes.data(), sizeof entries);
  for (int i = 0; i < 9; ++i) {
    const auto& entry = entries[i];
    EXPECT_EQ(Row(entry.uliEventlistId, entry.iEventType, entry.dtTimestamp), expected[i]) << i;
    EXPECT_STREQ(entry.sIconType, "") << "a missing text is an empty one";
  }
}

TEST_F(ComponentTest, TheTimeHelperGetsTheLocalTimeOfTheText) {
  qputenv("TZ", ":Europe/Berlin");
  const Reader reader(kEventKind);
  reader.load(R"([{"LocalTime":"2024-05-01T12:00:00.000"}, {"LocalTime":"2024-05-01T12:00"}])");
  EXPECT_EQ(reader.count(), 2) << "one read by hand, one by Qt";
  for (const fake::Call& call : fake::calls("QDateTimeToIECUtcDateTime")) {
    const QDateTime given = call.arguments[0].toDateTime();
    EXPECT_EQ(given.time(), QTime(12, 0));
    EXPECT_EQ(given.toSecsSinceEpoch(), 1714557600);
  }
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
    if (active != kAny) {
      call<setfilterstatealarm_ext>(reader.handle, active);
    }
    if (acknowledged != kAny) {
      call<setfilterstateacknowledge_ext>(reader.handle, acknowledged);
    }
    call<resetfilterall_ext>(reader.handle);  // leaves these two alone
    EXPECT_EQ(kAlarmKind.copy(reader.handle, 5).modules, passing) << active << " " << acknowledged;
    call<resetfilterstatealarm_ext>(reader.handle);
    call<resetfilterstateacknowledge_ext>(reader.handle);
  }
}

/** The four summary flags and the detector state, in the order in which the service is asked. */
std::string flags(const Reader& reader) {
  return flag<isalarminalarmlist_ext>(reader) + flag<isactivealarminalarmlist_ext>(reader) +
         flag<isfaultinalarmlist_ext>(reader) + flag<isactivefaultinalarmlist_ext>(reader) +
         flag<getcentraldetectorstate_ext>(reader);
}

TEST_F(ComponentTest, SummaryFlagsBelongToAllReadersAndTheDetectorToEach) {
  const std::string order[] = {"AlarmInAlarmlist", "ActiveAlarmInAlarmlist",
                               "FaultInAlarmlist", "ActiveFaultInAlarmlist",
                               "Alarmlist",        "CentralDetector"};
  const Reader early(kAlarmKind);
  EXPECT_EQ(flags(early), "00000");
  std::string expected = "000000";
  for (const bool value : {true, false}) {
    for (std::size_t i = 0; i < 6; ++i) {
      fake::change("changedFlag" + order[i], value);
      TavrolineAlarmlistRead::pollDBusSignals();
      expected[i] = value ? '1' : '0';
      EXPECT_EQ(flags(early), expected.substr(0, 4) + expected[5]) << "a false answer keeps the others";
      EXPECT_EQ(flags(Reader(kAlarmKind)), expected.substr(0, 4) + "0");
    }
  }
}

}  // namespace
