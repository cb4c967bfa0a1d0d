#include "ReaderClass.h"

#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "UnitSupport.h"

namespace {

// What both readers do alike, through the external functions.
struct Readers : ReaderTest {
  static bool changed(const Reader& reader) {
    const auto flag = call<haslistchanged_ext>(reader.handle, 85).xListChanged;
    EXPECT_TRUE(flag == 0 || flag == 1);
    return flag == 1;
  }
  static void poll() {
    TavrolineAlarmlistRead::pollDBusSignals();
    TavrolineEventlistRead::pollDBusSignals();
  }
};
INSTANTIATE_TEST_SUITE_P(Of, Readers, testing::Values(&kEventKind, &kAlarmKind));

TEST_P(Readers, CopyWhatPassesTheFilterUpToTheCapacity) {
  const Reader reader(kind);
  EXPECT_EQ(reader.count(), 0) << "before any load";
  reader.load(
      R"([{"EventType":3},{},5,{"EventType":3},{"EventType":2},"x",{"EventType":3},{},{},{"EventType":3}])");
  for (const int capacity : {-1, 0, 1, 4, 9, 10, 11})
    EXPECT_EQ(reader.count(capacity), qBound(0, capacity, 10));
  call<addfiltereventtype_ext>(reader.handle, 3);
  for (const int capacity : {-1, 0, 3, 4, 5, 10})
    EXPECT_EQ(reader.count(capacity), qBound(0, capacity, 4));
}

TEST_P(Readers, LearnOfAChangeWhenTheyAreOpenAtThatMoment) {
  poll();
  EXPECT_EQ(fake::calls(kind.changed()).size(), 1U) << "asked even with no reader";
  Reader first(kind);
  const Reader second(kind);
  poll();
  EXPECT_EQ(fake::calls(kind.changed()).size(), 2U) << "and once for both";
  EXPECT_FALSE(changed(first));
  fake::change(kind.changed());
  poll();
  const Reader later(kind);
  EXPECT_TRUE(changed(first) && changed(second));
  EXPECT_FALSE(changed(later));
  call<resetlistchanged_ext>(first.handle);
  second.load("[]");
  poll();
  EXPECT_FALSE(changed(first)) << "a false answer marks nothing";
  EXPECT_TRUE(changed(second)) << "neither it nor a load clears anything";
  first.close();
  fake::change(kind.changed());
  poll();
  EXPECT_TRUE(changed(later)) << "closing one leaves the others served";
}

struct EventProbe : TavrolineEventlistRead {
  static auto& instances() { return sm_AccessEventlistInstancePointers; }
};
struct AlarmProbe : TavrolineAlarmlistRead {
  static auto& instances() { return sm_AccessAlarmlistInstancePointers; }
};

template <typename Probe>
void expectSurvivesAWrongInstanceList(const std::string& name) {
  fake::reset();
  Probe::instances().append(nullptr);
  {
    Probe reader;
    Probe::instances().append(&reader);
    Probe::pollDBusSignals();
    EXPECT_EQ(records(), Lines{name + ": static void " + name + "::pollDBusSignals(): Nullpointer access"});
  }
  EXPECT_EQ(messages(), Lines{"qWarning: " + name + ": virtual " + name + "::~" + name +
                              "(): Tavroline Not one entry removed. Nr of removed entrys: 2"});
  EXPECT_EQ(Probe::instances().size(), 1) << "every occurrence is gone";
  Probe::instances().clear();
}

TEST_F(ComponentTest, AReaderSurvivesAWrongInstanceListAndSaysSo) {
  expectSurvivesAWrongInstanceList<EventProbe>("TavrolineEventlistRead");
  expectSurvivesAWrongInstanceList<AlarmProbe>("TavrolineAlarmlistRead");
}

}  // namespace
