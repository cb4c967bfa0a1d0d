#include "TavrolineEventlistWrite.h"

#include <QDateTime>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, AnEventIsSentWithItsIconOrTheDefaultOne) {
  const struct {
    RTS_IEC_INT type;
    RTS_IEC_INT state;
    const char* icon;
    const char* sent;  // null: refused
  } rows[] = {{3, 1, "", "event-on"}, {3, 0, "", "event"},       {3, 2, nullptr, "event-off"},
              {3, 1, "own", "own"},   {1, 0, "", "audit-trail"}, {1, 1, "", ""},
              {4, 9, "", ""},         {-1, 1, "x", "x"},         {3, -5, "", ""},
              {0, 1, "", nullptr},    {2, 2, "own", nullptr},    {0, 7, "own", nullptr}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.type << " " << row.state);
    fake::reset();
    logevent_struct event{};
    event.iEventType = row.type;
    event.iState = row.state;
    event.psIconType = row.icon;
    logevent_ext(&event);
    const auto sent = fake::calls("logEvent");
    const auto warnings = fake::calls("qWarning");
    ASSERT_EQ(sent.size(), row.sent == nullptr ? 0U : 1U);
    ASSERT_EQ(warnings.size(), row.sent == nullptr ? 1U : 0U);
    if (row.sent == nullptr) {
      EXPECT_EQ(
          messages()[0],
          "qWarning: TavrolineEventlistWrite: void TavrolineEventlistWrite::logEvent("
          "EventlistHandlerEnums::EventType, EventlistHandlerEnums::State, const QString&, const QString&, "
          "const QDateTime&, const QVariantMap&, const QStringList&, const QString&) const: "
          "Can't set alarm or fault");
      EXPECT_EQ(warnings[0].arguments[4], 49);
    } else {
      const QVariantList expected{int{row.type}, int{row.state}, QString::fromUtf8(row.sent),
                                  ""_q,          QDateTime(),    QVariantMap(),
                                  QStringList(), ""_q,           ""_q,
                                  "PlcEvents"_q};
      EXPECT_EQ(sent[0].arguments, expected);
    }
  }
}

TEST_F(ComponentTest, AnEventCarriesAllItsDataInTheStatedOrder) {
  const stDataType data{};
  const stDescriptionArgumentType argument{};
  const stDescriptionUrlArgumentType urlArgument{};
  const RTS_IEC_WSTRING user[] = {'J', 0xF6, 0};
  const char keywords[] = "k1\0k2";
  logevent_struct event{};
  event.iEventType = 1;
  event.psIconType = "icon";
  event.psModuleName = "Mödule";
  event.dtDateTime = 0xFFFFFFFF;
  event.pstData = &data;
  event.pwsUser = user;
  event.iKeywordSize = 3;
  event.pasKeywords = keywords;
  event.stKeywordsDimInfo = {1, 2};
  event.pastArguments = &argument;
  event.pastUrlArguments = &urlArgument;
  event.stArgumentsDimInfo = {0, 0};
  event.stUrlArgumentsDimInfo = {1, 0};
  logevent_ext(&event);
  ASSERT_EQ(fake::calls("logEvent").size(), 1U);
  QVariantList arguments = fake::calls("logEvent")[0].arguments;
  const QVariantMap description = arguments[5].toMap();
  EXPECT_EQ(description.size(), 7);
  EXPECT_EQ(description["Arguments"_q].toList().size(), 1);
  EXPECT_TRUE(description["UrlArguments"_q].toList().isEmpty());
  arguments.removeAt(5);
  EXPECT_EQ(arguments,
            (QVariantList{1, 0, "icon"_q, "Mödule"_q, QDateTime::fromSecsSinceEpoch(0xFFFFFFFF, Qt::UTC),
                          QStringList{"k1"_q, "k2"_q}, "Jö"_q, ""_q, "PlcEvents"_q}));
  EXPECT_EQ(records().size(), 0U);
}

TEST_F(ComponentTest, DeletingTheEventListNeedsNoStructure) {
  deleteeventlist_ext(nullptr);
  ASSERT_EQ(fake::calls().size(), 1U);
  EXPECT_EQ(fake::calls()[0].operation, "deleteEventlist");
  EXPECT_EQ(fake::calls()[0].arguments, QVariantList{true});
}

}  // namespace
