#include "ReaderClass.h"

#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "UnitSupport.h"

namespace {

using Lines = std::vector<std::string>;

// What both readers do alike, through the external functions.
class Readers : public ReaderTest {
 protected:
  static bool changed(Reader& reader) {
    haslistchanged_struct query{reader.handle(), -1};
    haslistchanged_ext(&query);
    EXPECT_EQ(query.xListChanged & ~1, 0) << "0 or 1";
    return query.xListChanged == 1;
  }
  void poll() {
    TavrolineAlarmlistRead::pollDBusSignals();
    TavrolineEventlistRead::pollDBusSignals();
  }
};
INSTANTIATE_FOR_BOTH_KINDS(Readers);

TEST_P(Readers, CopyUpToTheirCapacityWhatPassesTheFilter) {
  Reader reader(kind());
  EXPECT_EQ(reader.count(), 0) << "before any load";
  reader.load(
      R"([{"EventType":3},{},5,{"EventType":3},{"EventType":2},"x",{"EventType":3},{},{},{"EventType":3}])");
  const struct {
    int capacity;
    int all;
    int filtered;
  } rows[] = {{-1, 0, 0}, {0, 0, 0}, {1, 1, 1}, {3, 3, 3}, {4, 4, 4}, {5, 5, 4}, {10, 10, 4}, {11, 10, 4}};
  for (const auto& row : rows)
    EXPECT_EQ(reader.count(row.capacity), row.all) << row.capacity;
  addfiltereventtype_struct type{reader.handle(), 3};
  addfiltereventtype_ext(&type);
  for (const auto& row : rows)
    EXPECT_EQ(reader.count(row.capacity), row.filtered) << row.capacity;
}

TEST_P(Readers, KeepTheirListsApart) {
  Reader first(kind());
  Reader second(kind());
  first.load("[{},{}]");
  second.load("[{}]");
  EXPECT_EQ(first.count(), 2);
  EXPECT_EQ(second.count(), 1);
}

TEST_P(Readers, LearnOfAChangeWhenTheyAreOpenAtThatMoment) {
  Reader first(kind());
  Reader second(kind());
  poll();
  EXPECT_FALSE(changed(first));
  fake::change(kind().changed);
  poll();
  Reader later(kind());
  EXPECT_TRUE(changed(first));
  EXPECT_TRUE(changed(second));
  EXPECT_FALSE(changed(later));
  resetlistchanged_struct reset{first.handle()};
  resetlistchanged_ext(&reset);
  poll();
  EXPECT_FALSE(changed(first)) << "a false answer marks nothing";
  EXPECT_TRUE(changed(second)) << "and clears nothing";
  second.load("[]");
  EXPECT_TRUE(changed(second)) << "nor does a load";
  first.close();
  fake::change(kind().changed);
  poll();
  EXPECT_TRUE(changed(later)) << "closing one leaves the others served";
}

TEST_P(Readers, AskForChangesOncePerPollEvenWhenNoneIsOpen) {
  poll();
  EXPECT_EQ(fake::calls(kind().changed).size(), 1U);
  const Reader first(kind());
  const Reader second(kind());
  poll();
  EXPECT_EQ(fake::calls(kind().changed).size(), 2U);
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
  { const Probe reader; }
  EXPECT_EQ(messages().size(), 1U);
}

TEST_F(ComponentTest, AReaderSurvivesAWrongInstanceListAndSaysSo) {
  expectSurvivesAWrongInstanceList<EventProbe>("TavrolineEventlistRead");
  expectSurvivesAWrongInstanceList<AlarmProbe>("TavrolineAlarmlistRead");
}

}  // namespace
