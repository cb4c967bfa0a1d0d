#include "TavrolineConvenienceFunctions.h"

#include <algorithm>
#include <climits>

#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "TavrolineEventlistWrite.h"
#include "UnitSupport.h"

namespace {

using Convert = TavrolineConvenienceFunctions;
using Lines = std::vector<std::string>;

TEST_F(ComponentTest, TextSourcesBeyondOneBecomeZeroWithAWarning) {
  const struct {
    RTS_IEC_INT value;
    int source;
    const char* warning;
  } rows[] = {{0, 0, nullptr}, {1, 1, nullptr}, {2, 0, "2"}, {-1, 0, "-1"}, {32767, 0, "32767"}};
  for (const auto& row : rows) {
    fake::reset();
    EXPECT_EQ(Convert::convertIntToTextSource(row.value), row.source) << row.value;
    const std::string context =
        "qWarning: TavrolineConvenienceFunctions: static EventsDBusDefinitions::TextSource "
        "TavrolineConvenienceFunctions::convertIntToTextSource(RTS_IEC_INT): Text source unknown: ";
    EXPECT_EQ(messages(), row.warning == nullptr ? Lines{} : Lines{context + row.warning});
    if (row.warning != nullptr) {
      EXPECT_EQ(fake::calls("qWarning")[0].arguments[4], 268);
    }
  }
}

TEST_F(ComponentTest, DefaultIconsExistForNinePairsAtMost) {
  const struct {
    int type;
    const char* icons[5];  // states 0, 1, 2, 3, -1
  } rows[] = {{-1, {"", "", "", "", ""}},
              {0, {"", "alarm-on", "alarm-off", "", ""}},
              {1, {"audit-trail", "", "", "", ""}},
              {2, {"", "fault-on", "fault-off", "", ""}},
              {3, {"event", "event-on", "event-off", "", ""}},
              {4, {"", "", "", "", ""}},
              {-32768, {"", "", "", "", ""}}};
  const int states[] = {0, 1, 2, 3, -1};
  for (const auto& row : rows) {
    for (int i = 0; i < 5; ++i) {
      const auto type = static_cast<EventlistHandlerEnums::EventType>(row.type);
      const auto state = static_cast<EventlistHandlerEnums::State>(states[i]);
      EXPECT_EQ(Convert::getDefaultIconType(type, state), QString::fromUtf8(row.icons[i]))
          << row.type << " " << states[i];
    }
  }
}

TEST_F(ComponentTest, AnInstanceNameTakesAtMostOneIntegerDirective) {
  const struct {
    const char* name;
    RTS_IEC_INT number;
    QString expected;
  } rows[] = {
      {"Pump %d", 3, "Pump 3"_q},
      {"Pump %d", 0, "Pump %d"_q},
      {"Pump %d", -2, "Pump -2"_q},
      {"Pümpe %d", 3, "Pümpe 3"_q},
      {"Pumpe 水", 3, "Pumpe 水"_q},
      {"水 %d", 3, "? 3"_q},
      {"100%% %i", 7, "100% 7"_q},
      {"%05d|%%", 42, "00042|%"_q},
      {"%-4d|", 7, "7   |"_q},
      {"%+.3d", 7, "+007"_q},
      {"%x %u", 255, "ff %u"_q},
      {"%hhd", 300, "300"_q},
      {"%lld", -5, "-5"_q},
      {"%d %d", 4, "4 %d"_q},
      {"%s", 3, "%s"_q},
      {"%n", 3, "%n"_q},
      {"%f and %d", 3, "%f and 3"_q},
      {"%*d", 3, "%*d"_q},
      {"%", 3, "%"_q},
      {"%5", 3, "%5"_q},
      {"%99999999999d", 3, "3"_q.rightJustified(255)},
      {"%.99999999999d", 3, "3"_q.rightJustified(255, QLatin1Char('0'))},
  };
  for (const auto& row : rows) {
    stDataType data{};
    put(data.sInstanceName, row.name);
    data.iInstanceNumber = row.number;
    const QVariantMap map = Convert::convertStructDescriptionData(data);
    EXPECT_EQ(map["InstanceName"_q].toString(), row.expected) << row.name;
  }
}

TEST_F(ComponentTest, KeywordsAreTheNonEmptyElementsWithinTheBounds) {
  constexpr short kSize = 81;
  char array[12 * kSize] = {};
  put(&array[0], "alarm");
  put(&array[2 * kSize], "pump");
  put(&array[3 * kSize], "alarm");
  put(&array[10 * kSize], "eleventh");
  put(&array[11 * kSize], "behind");
  const QStringList four{"alarm"_q, "pump"_q, "alarm"_q};
  const struct {
    const char* name;
    const char* first;
    short elementSize;
    __ARRAY__DIM__INFO bounds;
    QStringList expected;
  } rows[] = {
      {"empty ones are skipped, repeated ones kept", array, kSize, {1, 4}, four},
      {"one element", array, kSize, {7, 7}, {"alarm"_q}},
      {"one empty element", array + kSize, kSize, {0, 0}, {}},
      {"the bounds are no indices", array, kSize, {-5, 5}, four + QStringList{"eleventh"_q}},
      {"upper below lower", array, kSize, {1, 0}, {}},
      {"far below", array, kSize, {INT_MAX, INT_MIN}, {}},
      {"more than a DINT counts", array, kSize, {INT_MIN, INT_MAX}, {}},
      {"more than a DINT counts by one", array, kSize, {-1, INT_MAX}, {}},
      {"no element size", array, 0, {0, 3}, {}},
      {"negative element size", array, -81, {0, 3}, {}},
      {"no array", nullptr, kSize, {0, 3}, {}},
  };
  for (const auto& row : rows) {
    fake::reset();
    EXPECT_EQ(Convert::getKeywordStringList(row.first, row.elementSize, row.bounds), row.expected)
        << row.name;
    EXPECT_EQ(records().size(), row.first == nullptr ? 1U : 0U) << row.name;
  }
}

stDataType sampleData() {
  stDataType data{};
  data.iTextSource = 1;
  put(data.sModuleName, "Module");
  put(data.sObjectName, "Objekt ä");
  put(data.sInstanceName, "Pump %d");
  data.iInstanceNumber = 3;
  put(data.sUrl, "");
  return data;
}

const QVariantMap kSampleMap{{"TextSource"_q, 1},
                             {"ModuleName"_q, "Module"_q},
                             {"ObjectName"_q, "Objekt ä"_q},
                             {"InstanceName"_q, "Pump 3"_q},
                             {"Url"_q, ""_q}};

TEST_F(ComponentTest, ADescriptionMapHoldsEveryFieldAndBothLists) {
  const stDataType data = sampleData();
  stDescriptionArgumentType arguments[2] = {};
  put(arguments[0].wsPlaceholder, u"$1");
  put(arguments[0].wsArgument, u"12 °C");
  stDescriptionUrlArgumentType urlArgument{};
  put(urlArgument.wsPlaceholder, u"$u");
  urlArgument.stData = data;

  QVariantMap urlMap = kSampleMap;
  urlMap["Placeholder"_q] = "$u"_q;
  QVariantMap expected = kSampleMap;
  expected["Arguments"_q] = QVariantList{QVariantMap{{"Placeholder"_q, "$1"_q}, {"Argument"_q, "12 °C"_q}},
                                         QVariantMap{{"Placeholder"_q, ""_q}, {"Argument"_q, ""_q}}};
  expected["UrlArguments"_q] = QVariantList{urlMap};
  const QVariantMap map = Convert::getDescriptionVariantMap(&data, arguments, {5, 6}, &urlArgument, {1, 1});
  EXPECT_EQ(map, expected);
  EXPECT_EQ(map["TextSource"_q].type(), QVariant::Int);

  expected["Arguments"_q] = expected["UrlArguments"_q] = QVariantList{};
  EXPECT_EQ(Convert::getDescriptionVariantMap(&data, arguments, {1, 0}, &urlArgument, {INT_MIN, INT_MAX}),
            expected);
  EXPECT_EQ(records(), Lines{});
}

TEST_F(ComponentTest, OneNullPointerEmptiesTheWholeMapAndIsReportedOnce) {
  const stDataType data = sampleData();
  const stDescriptionArgumentType argument{};
  const stDescriptionUrlArgumentType urlArgument{};
  for (int missing = 0; missing < 4; ++missing) {  // 3: all of them
    fake::reset();
    const bool all = missing == 3;
    EXPECT_EQ(Convert::getDescriptionVariantMap(all || missing == 0 ? nullptr : &data,
                                                all || missing == 1 ? nullptr : &argument, {0, 0},
                                                all || missing == 2 ? nullptr : &urlArgument, {0, 0}),
              QVariantMap());
    EXPECT_EQ(records(),
              Lines{"TavrolineConvenienceFunctions: static bool "
                    "TavrolineConvenienceFunctions::checkStructPointer(const void*): codesys struct "
                    "nullpointer"});
    EXPECT_EQ(fake::calls("CodesysLog")[0].arguments[8], "76"_q);
  }
}

TEST_F(ComponentTest, AFieldWithoutATerminatorEndsWithTheField) {
  stDataType data{};
  std::fill_n(data.sModuleName, sizeof data.sModuleName, 'm');
  std::fill_n(data.sObjectName, sizeof data.sObjectName, 'o');
  std::fill_n(data.sInstanceName, sizeof data.sInstanceName, 'i');
  std::fill_n(data.sUrl, sizeof data.sUrl, 'u');
  const QVariantMap map = Convert::convertStructDescriptionData(data);
  EXPECT_EQ(map["ModuleName"_q], QString(81, QLatin1Char('m')));
  EXPECT_EQ(map["ObjectName"_q], QString(81, QLatin1Char('o')));
  EXPECT_EQ(map["InstanceName"_q], QString(256, QLatin1Char('i')));
  EXPECT_EQ(map["Url"_q], QString(256, QLatin1Char('u')));
  stDescriptionArgumentType argument;
  std::fill_n(argument.wsPlaceholder, 81, u'p');
  std::fill_n(argument.wsArgument, 81, u'a');
  const QVariantMap texts = Convert::convertStructDescriptionData(argument);
  EXPECT_EQ(texts["Placeholder"_q], QString(81, QLatin1Char('p')));
  EXPECT_EQ(texts["Argument"_q], QString(81, QLatin1Char('a')));
}

template <typename Kind>
void expectHandleCheck(const char* type, const char* word) {
  fake::reset();
  int object = 0;
  Kind* target = nullptr;
  EXPECT_TRUE(Convert::getHandlePointer(&target, &object));
  EXPECT_EQ(static_cast<void*>(target), &object);
  EXPECT_FALSE(Convert::getHandlePointer(&target, nullptr));
  EXPECT_EQ(static_cast<void*>(target), &object) << "left alone";
  ASSERT_EQ(records().size(), 1U);
  const QVariantList arguments = fake::calls("CodesysLog")[0].arguments;
  EXPECT_TRUE(arguments[7].toString().contains(QString::fromUtf8(type)))
      << arguments[7].toString().toStdString();
  EXPECT_EQ(arguments[9], QStringList{QString::fromUtf8(word) + " nullpointer"_q});
}

TEST_F(ComponentTest, ANullHandleIsReportedInTheWordsOfItsKind) {
  expectHandleCheck<TavrolineReadBaseClass>("TavrolineReadBaseClass", "EventlistReadHandle");
  expectHandleCheck<TavrolineEventlistRead>("TavrolineEventlistRead", "EventlistReadHandle");
  expectHandleCheck<TavrolineEventlistWrite>("TavrolineEventlistWrite", "EventlistWriteHandle");
  expectHandleCheck<TavrolineAlarmlistRead>("TavrolineAlarmlistRead", "AlarmlistReadHandle");
}

}  // namespace
