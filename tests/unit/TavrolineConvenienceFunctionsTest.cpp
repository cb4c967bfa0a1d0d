#include "TavrolineConvenienceFunctions.h"

#include <climits>
#include <cstring>

#include "UnitSupport.h"

namespace {

using Convert = TavrolineConvenienceFunctions;

TEST_F(ComponentTest, TextSourcesBeyondOneBecomeZeroWithAWarning) {
  for (const RTS_IEC_INT value : std::initializer_list<RTS_IEC_INT>{2, -1}) {
    fake::reset();
    EXPECT_EQ(Convert::convertIntToTextSource(value), 0);
    EXPECT_EQ(messages(), Lines{"qWarning: TavrolineConvenienceFunctions: static "
                                "EventsDBusDefinitions::TextSource TavrolineConvenienceFunctions::"
                                "convertIntToTextSource(RTS_IEC_INT): Text source unknown: " +
                                std::to_string(value)});
    EXPECT_EQ(fake::calls("qWarning").at(0).arguments[4], 268);
  }
}

TEST_F(ComponentTest, AWriteHandleIsTakenUnlessItIsNull) {
  TavrolineEventlistWrite* writer = nullptr;
  int object = 0;
  EXPECT_TRUE(Convert::getHandlePointer(&writer, &object));
  EXPECT_FALSE(Convert::getHandlePointer(&writer, nullptr));
  EXPECT_EQ(static_cast<void*>(writer), &object);
  EXPECT_EQ(items(), Lines{"EventlistWriteHandle nullpointer"});
}

TEST_F(ComponentTest, AnInstanceNameTakesAtMostOneIntegerDirective) {
  using Row = std::tuple<int, const char*, QString>;
  for (const auto& [number, name, expected] :
       {Row{3, "Pump %d", "Pump 3"_q}, Row{0, "Pump %d", "Pump %d"_q}, Row{-2, "Pump %d", "Pump -2"_q},
        Row{3, "Pümpe %d", "Pümpe 3"_q}, Row{3, "Pumpe 水", "Pumpe 水"_q}, Row{3, "水 %d", "? 3"_q},
        Row{7, "100%% %i", "100% 7"_q}, Row{7, "%+05d|%%", "+0007|%"_q}, Row{255, "%x %u", "ff %u"_q},
        Row{300, "%hhd", "300"_q}, Row{3, "%s", "%s"_q}, Row{3, "%n", "%n"_q},
        Row{3, "%f and %d", "%f and 3"_q}, Row{3, "%*d", "%*d"_q}, Row{3, "%5", "%5"_q},
        Row{3, "%99999999999d", "3"_q.rightJustified(255)}}) {
    stDataType data{};
    std::strcpy(data.sInstanceName, name);
    data.iInstanceNumber = static_cast<RTS_IEC_INT>(number);
    EXPECT_EQ(Convert::convertStructDescriptionData(data)["InstanceName"_q], expected) << name;
  }
}

TEST_F(ComponentTest, KeywordsAreTheNonEmptyElementsWithinTheBounds) {
  const char elements[][6] = {"alarm", "", "pump", "alarm", "", "", "", "", "", "last", "past"};
  const QStringList four{"alarm"_q, "pump"_q, "alarm"_q};
  using Row = std::tuple<const char*, short, __ARRAY__DIM__INFO, QStringList>;
  const Row rows[] = {
      {*elements, 6, {1, 4}, four},      {*elements, 6, {7, 7}, {"alarm"_q}},
      {elements[1], 6, {0, 0}, {}},      {*elements, 6, {-5, 4}, four + QStringList{"last"_q}},
      {*elements, 6, {1, 0}, {}},        {*elements, 6, {INT_MAX, INT_MIN}, {}},
      {*elements, 6, {-1, INT_MAX}, {}}, {*elements, 0, {0, 3}, {}},
      {*elements, -6, {0, 3}, {}},       {nullptr, 6, {0, 3}, {}}};
  for (const auto& [first, size, bounds, expected] : rows) {
    fake::reset();
    EXPECT_EQ(Convert::getKeywordStringList(first, size, bounds), expected) << bounds.lower;
    EXPECT_EQ(records().size(), first == nullptr ? 1U : 0U);
  }
}

TEST_F(ComponentTest, ADescriptionMapHoldsEveryFieldAndBothLists) {
  const stDataType data{1, "Module", "Objekt ä", "Pump %d", 3, ""};
  const stDescriptionArgumentType arguments[2] = {{{'$', '1'}, {0x2103}}, {}};
  const stDescriptionUrlArgumentType urlArgument{{'$', 'u'}, data};
  QVariantMap expected{{"TextSource"_q, 1},
                       {"ModuleName"_q, "Module"_q},
                       {"ObjectName"_q, "Objekt ä"_q},
                       {"InstanceName"_q, "Pump 3"_q},
                       {"Url"_q, ""_q}};
  QVariantMap urlMap = expected;
  urlMap["Placeholder"_q] = "$u"_q;
  expected["Arguments"_q] = QVariantList{QVariantMap{{"Placeholder"_q, "$1"_q}, {"Argument"_q, "℃"_q}},
                                         QVariantMap{{"Placeholder"_q, ""_q}, {"Argument"_q, ""_q}}};
  expected["UrlArguments"_q] = QVariantList{urlMap};
  const QVariantMap map = Convert::getDescriptionVariantMap(&data, arguments, {5, 6}, &urlArgument, {1, 1});
  EXPECT_EQ(map, expected);
  EXPECT_EQ(map["TextSource"_q].type(), QVariant::Int);
  expected["Arguments"_q] = expected["UrlArguments"_q] = QVariantList{};
  EXPECT_EQ(Convert::getDescriptionVariantMap(&data, arguments, {1, 0}, &urlArgument, {INT_MIN, INT_MAX}),
            expected);
  EXPECT_EQ(records(), Lines{});

  for (const int missing : {0, 1, 2, 3}) {  // one null pointer, or all of them
    fake::reset();
    EXPECT_EQ(Convert::getDescriptionVariantMap(missing % 3 == 0 ? nullptr : &data,
                                                missing % 2 == 1 ? nullptr : arguments, {0, 0},
                                                missing >= 2 ? nullptr : &urlArgument, {0, 0}),
              QVariantMap());
    EXPECT_EQ(records(), Lines{"TavrolineConvenienceFunctions: static bool TavrolineConvenienceFunctions::"
                               "checkStructPointer(const void*): codesys struct nullpointer"});
    EXPECT_EQ(fake::calls("CodesysLog").at(0).arguments[8], "76"_q);
  }
}

TEST_F(ComponentTest, AFieldWithoutATerminatorEndsWithTheField) {
  stDescriptionUrlArgumentType full;
  std::memset(static_cast<void*>(&full), 'x', sizeof full);
  full.stData.iTextSource = 0;
  const QVariantMap map = Convert::convertStructDescriptionData(full);
  EXPECT_EQ(map["Placeholder"_q], QString(81, QChar(0x7878)));
  for (const QString& key : {"ModuleName"_q, "ObjectName"_q}) {
    EXPECT_EQ(map[key], QString(81, QLatin1Char('x')));
  }
  for (const QString& key : {"InstanceName"_q, "Url"_q}) {
    EXPECT_EQ(map[key], QString(256, QLatin1Char('x')));
  }
  EXPECT_EQ(messages(), Lines{}) << "of a known text source";
}

}  // namespace
