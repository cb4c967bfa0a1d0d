#include "TavrolineConvenienceFunctions.h"

#include <climits>
#include <cstring>
#include <tuple>

#include "GuardedMemory.h"
#include "UnitSupport.h"

namespace {

using Convert = TavrolineConvenienceFunctions;
struct ConvenienceFunctionsTest : ComponentTest {};

const Lines kNullStructure{
    "TavrolineConvenienceFunctions: static bool TavrolineConvenienceFunctions::checkStructPointer("
    "const void*): codesys struct nullpointer"};

/** The texts that the text helpers were to read up to their terminators, in order. */
QStringList readTexts() {
  QStringList texts;
  for (const fake::Call& call : fake::calls()) {
    if (call.arguments.size() == 2) {
      texts += call.arguments[0].toString();
      EXPECT_EQ(call.arguments[1], -1);
    }
  }
  return texts;
}

TEST_F(ConvenienceFunctionsTest, TextSourcesBeyondOneBecomeZeroWithAWarning) {
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

TEST_F(ConvenienceFunctionsTest, AnInstanceNameTakesAtMostOneIntegerDirective) {
  using Row = std::tuple<RTS_IEC_INT, const char*, QString>;
  for (const auto& [number, name, expected] :
       {Row{3, "Pump %d", "Pump 3"_q}, Row{0, "Pump %d", "Pump %d"_q}, Row{-2, "Pump %d", "Pump -2"_q},
        Row{3, "Pümpe %d", "Pümpe 3"_q}, Row{3, "Pumpe 水", "Pumpe 水"_q}, Row{3, "水 %d", "? 3"_q},
        Row{7, "100%% %i", "100% 7"_q}, Row{7, "%+05d|%%", "+0007|%"_q}, Row{7, "% 5.3d", "  007"_q},
        Row{255, "%x %u", "ff %u"_q}, Row{300, "%hhd", "300"_q}, Row{3, "%s", "%s"_q}, Row{3, "%n", "%n"_q},
        Row{3, "%f and %d", "%f and 3"_q}, Row{3, "%*d", "%*d"_q}, Row{3, "%5", "%5"_q},
        Row{3, "%99999999999d", "3"_q.rightJustified(255)}}) {
    stDataType data{};
    std::strcpy(data.sInstanceName, name);
    data.iInstanceNumber = number;
    EXPECT_EQ(Convert::convertStructDescriptionData(data)["InstanceName"_q], expected) << name;
  }
}

TEST_F(ConvenienceFunctionsTest, KeywordsAreTheNonEmptyElementsWithinTheBounds) {
  const char elements[][6] = {"alarm", "", "\uFEFFup", "alarm", "", "", "", "", "", "last", "past"};
  const QStringList three{"alarm"_q, QChar(0xFEFF) + "up"_q, "alarm"_q};
  const struct {
    const char* name;
    const char* first;
    short size;
    __ARRAY__DIM__INFO bounds;
    QStringList expected;
  } rows[] = {{"four elements", *elements, 6, {1, 4}, three},
              {"bounds from below zero", *elements, 6, {-5, 4}, three + QStringList{"last"_q}},
              {"upper below lower", *elements, 6, {1, 0}, {}},
              {"a difference below DINT", *elements, 6, {INT_MAX, INT_MIN}, {}},
              {"a difference beyond DINT", *elements, 6, {-1, INT_MAX}, {}},
              {"size 1", *elements, 1, {0, 2}, {"a"_q, "l"_q, "a"_q}},
              {"a negative size", *elements, -6, {0, 3}, {}},
              {"no array", nullptr, 6, {0, 3}, {}}};
  for (const auto& row : rows) {
    fake::reset();
    EXPECT_EQ(Convert::getKeywordStringList(row.first, row.size, row.bounds), row.expected) << row.name;
    EXPECT_EQ(records(), row.first == nullptr ? kNullStructure : Lines{});
  }
}

TEST_F(ConvenienceFunctionsTest, ADescriptionMapHoldsEveryFieldAndBothLists) {
  const stDataType data{1, "Module", "Objekt ä", "Pump %d", 3, "url"};
  const stDescriptionArgumentType arguments[2] = {{{'$', '1'}, {0x2103}}, {}};
  const stDescriptionUrlArgumentType urlArgument{{'$', 'u'}, data};
  QVariantMap expected{{"TextSource"_q, 1}, {"ModuleName"_q, "Module"_q}, {"ObjectName"_q, "Objekt ä"_q}};
  expected["InstanceName"_q] = "Pump 3"_q;
  expected["Url"_q] = "url"_q;
  QVariantMap urlMap = expected;
  urlMap["Placeholder"_q] = "$u"_q;
  expected["Arguments"_q] = QVariantList{QVariantMap{{"Placeholder"_q, "$1"_q}, {"Argument"_q, "℃"_q}},
                                         QVariantMap{{"Placeholder"_q, ""_q}, {"Argument"_q, ""_q}}};
  expected["UrlArguments"_q] = QVariantList{urlMap};
  const QVariantMap map = Convert::getDescriptionVariantMap(&data, arguments, {5, 6}, &urlArgument, {1, 1});
  EXPECT_EQ(map, expected);
  EXPECT_EQ(map["TextSource"_q].type(), QVariant::Int);
  const QStringList inOrder{"Module"_q, "Objekt ä"_q, "Pump %d"_q,  "url"_q,     "℃"_q,   "$1"_q, ""_q,
                            ""_q,       "Module"_q,   "Objekt ä"_q, "Pump %d"_q, "url"_q, "$u"_q};
  EXPECT_EQ(readTexts(), inOrder);
  expected["Arguments"_q] = expected["UrlArguments"_q] = QVariantList{};
  EXPECT_EQ(Convert::getDescriptionVariantMap(&data, arguments, {1, 0}, &urlArgument, {INT_MIN, INT_MAX}),
            expected);
  EXPECT_EQ(records(), Lines{});

  const __ARRAY__DIM__INFO one{0, 0};
  EXPECT_TRUE(Convert::getDescriptionVariantMap(nullptr, arguments, one, &urlArgument, one).isEmpty());
  EXPECT_TRUE(Convert::getDescriptionVariantMap(&data, nullptr, one, &urlArgument, one).isEmpty());
  EXPECT_TRUE(Convert::getDescriptionVariantMap(&data, arguments, one, nullptr, one).isEmpty());
  EXPECT_TRUE(Convert::getDescriptionVariantMap(nullptr, nullptr, one, nullptr, one).isEmpty());
  EXPECT_EQ(records(), Lines(4, kNullStructure[0]));
  EXPECT_EQ(fake::calls("CodesysLog").at(0).arguments[8], "76"_q);
}

TEST_F(ConvenienceFunctionsTest, ATextWithoutATerminatorEndsWithItsFieldOrElement) {
  GuardedMemory memory;
  auto& argument = *memory.last<stDescriptionArgumentType>(1);
  std::memset(static_cast<void*>(&argument), 'x', sizeof argument);
  const QString wide(81, QChar(0x7878));
  EXPECT_EQ(Convert::convertStructDescriptionData(argument),
            (QVariantMap{{"Argument"_q, wide}, {"Placeholder"_q, wide}}));
  auto& data = *memory.last<stDataType>(1);
  std::memset(static_cast<void*>(&data), 'x', sizeof data);
  data.iTextSource = data.iInstanceNumber = 0;
  const QString narrow(81, QLatin1Char('x'));
  const QString longer(256, QLatin1Char('x'));
  EXPECT_EQ(Convert::convertStructDescriptionData(data).values(),
            (QVariantList{longer, narrow, narrow, 0, longer}))
      << "by key: InstanceName to Url";
  fake::reset();
  const char* const elements = static_cast<char*>(std::memcpy(memory.last<char>(12), "on\0?pumpdoor", 12));
  EXPECT_EQ(Convert::getKeywordStringList(elements, 4, {1, 3}), (QStringList{"on"_q, "pump"_q, "door"_q}));
  EXPECT_EQ(readTexts(), (QStringList{"on"_q, "pump"_q, "door"_q}));
}

}  // namespace
