#include "ReaderGroup.h"

#include <map>

#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "UnitSupport.h"

namespace {

/** The BOOL that a function gives for a reader. */
template <auto Function>
bool flag(const Reader& reader) {
  const auto [handle, value] = call<Function>(reader.handle, 85);
  EXPECT_TRUE(value == 0 || value == 1);
  return value == 1;
}
bool hasChanged(const Reader& reader) {
  return flag<haslistchanged_ext>(reader);
}

// Through the external functions: what both readers do alike, then what only one of them does.
struct ReaderGroupTest : ReaderTest {
  static void poll() {
    TavrolineAlarmlistRead::pollDBusSignals();
    TavrolineEventlistRead::pollDBusSignals();
  }
};
INSTANTIATE_TEST_SUITE_P(Of, ReaderGroupTest, testing::Values(&kEventKind, &kAlarmKind));
using ReaderGroupOneListTest = ComponentTest;

TEST_P(ReaderGroupTest, CopyWhatPassesTheFilterUpToTheCapacity) {
  const Reader reader(kind);
  reader.load(R"([{"EventType":3},{},5,{"EventType":3},{"EventType":65539},"x",{"EventType":3}])");
  EXPECT_EQ(reader.count(), 7);
  call<addfiltereventtype_ext>(reader.handle, 3);
  for (const int capacity : {-1, 0, 2, 3, 4, 7}) {
    EXPECT_EQ(reader.count(capacity), qBound(0, capacity, 3));
  }
}

TEST_P(ReaderGroupTest, LearnOfAChangeWhenTheyAreOpenAtThatMoment) {
  poll();
  EXPECT_EQ(fake::calls(kind.changed()).size(), 1U) << "asked even with no reader";
  const Reader first(kind);
  const Reader second(kind);
  EXPECT_FALSE(hasChanged(Reader(kind))) << "and closed: the others stay served";
  fake::answer(kind.changed(), {{1, {}}});
  poll();
  EXPECT_EQ(fake::calls(kind.changed()).size(), 2U) << "and once for both";
  EXPECT_TRUE(hasChanged(first) && hasChanged(second));
  EXPECT_FALSE(hasChanged(Reader(kind)));
  call<resetlistchanged_ext>(first.handle);
  second.load("[]");
  poll();
  EXPECT_FALSE(hasChanged(first));
  EXPECT_TRUE(hasChanged(second)) << "a false answer or a load changes nothing";
}

TEST_F(ReaderGroupOneListTest, APartOfTheEventListIsAskedForByItsCountAlone) {
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

TEST_F(ReaderGroupOneListTest, AnEntryIsWrittenToItsBytesAndNoFurther) {
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

TEST_F(ReaderGroupOneListTest, TheTimeHelperGetsTheLocalTimeOfTheTextAndQtReadsARepeatedOne) {
  qputenv("TZ", "AAA-14BBB12,J100/0,J200/0");  // set back by 26 hours on 10 April
  const Reader reader(kEventKind);
  reader.load(R"([{"LocalTime":"1971-04-09T23:00:00.000"}, {"LocalTime":"1971-04-12T21:00:00.000"}])");
  EXPECT_EQ(reader.count(), 2);
  const auto calls = fake::calls("QDateTimeToIECUtcDateTime");
  const QDateTime repeated = calls.at(0).arguments[0].toDateTime();
  const QDateTime usual = calls.at(1).arguments[0].toDateTime();
  EXPECT_EQ(repeated.timeSpec(), Qt::LocalTime);
  EXPECT_EQ(usual.timeSpec(), Qt::OffsetFromUTC);
  EXPECT_EQ(usual.time(), QTime(21, 0));
}

TEST_F(ReaderGroupOneListTest, StateFiltersAreSetAndResetOneByOne) {
  const Reader reader(kAlarmKind);
  reader.load(R"([{"ModuleName":"both ","AlarmActive":true,"AlarmAcknowledgment":true},
                  {"ModuleName":"active ","AlarmActive":true},
                  {"ModuleName":"acknowledged ","AlarmAcknowledgment":true}])");
  const auto passing = [&] { return kAlarmKind.copy(reader.handle, 3).modules; };
  call<setfilterstatealarm_ext>(reader.handle, 2);
  EXPECT_EQ(passing(), "both active ");
  call<setfilterstateacknowledge_ext>(reader.handle, -128);
  call<resetfilterall_ext>(reader.handle);  // leaves the state filters alone
  EXPECT_EQ(passing(), "both ");
  call<resetfilterstatealarm_ext>(reader.handle);
  EXPECT_EQ(passing(), "both acknowledged ");
  call<setfilterstateacknowledge_ext>(reader.handle, 0);
  EXPECT_EQ(passing(), "active ");
  call<resetfilterstateacknowledge_ext>(reader.handle);
  call<setfilterstatealarm_ext>(reader.handle, 0);
  EXPECT_EQ(passing(), "acknowledged ");
}

/** The four summary flags and the detector state by the names under which the service reports them. */
std::map<std::string, bool> flags(const Reader& reader) {
  return {{"AlarmInAlarmlist", flag<isalarminalarmlist_ext>(reader)},
          {"ActiveAlarmInAlarmlist", flag<isactivealarminalarmlist_ext>(reader)},
          {"FaultInAlarmlist", flag<isfaultinalarmlist_ext>(reader)},
          {"ActiveFaultInAlarmlist", flag<isactivefaultinalarmlist_ext>(reader)},
          {"CentralDetector", flag<getcentraldetectorstate_ext>(reader)}};
}

TEST_F(ReaderGroupOneListTest, SummaryFlagsBelongToAllReadersAndTheDetectorToEach) {
  const Reader early(kAlarmKind);
  std::map<std::string, bool> expected = flags(early);
  for (const auto& [name, value] : expected) {
    EXPECT_FALSE(value) << name;
  }
  for (const bool value : {true, false}) {
    for (auto& [name, expectedFlag] : expected) {
      fake::answer("changedFlag" + name, {{value, {}}});
      fake::answer("changedFlagAlarmlist", {{value, {}}});
      TavrolineAlarmlistRead::pollDBusSignals();
      expectedFlag = value;
      EXPECT_EQ(flags(early), expected) << "after " << name;
      std::map<std::string, bool> ofNewReader = expected;
      ofNewReader["CentralDetector"] = false;
      EXPECT_EQ(flags(Reader(kAlarmKind)), ofNewReader) << "after " << name;
    }
  }
}

}  // namespace
