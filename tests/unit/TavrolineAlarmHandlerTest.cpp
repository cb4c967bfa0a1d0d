#include "TavrolineAlarmHandler.h"

#include <QDateTime>
#include <QRegularExpression>

#include <memory>

#include "TestClock.h"
#include "UnitSupport.h"

namespace {

using fake::Answer;

class AlarmHandlerTest : public ComponentTest {
 protected:
  void log(int type, int state, const char* icon = "", const char* module = "", unsigned int time = 0) {
    const stDataType data{};
    const stDescriptionArgumentType argument{};
    const stDescriptionUrlArgumentType urlArgument{};
    const RTS_IEC_WSTRING user[] = {'u', 0};
    logalarm_struct alarm{};
    alarm.hWriteHandle = m_alarm->hWriteHandle;
    alarm.iEventType = static_cast<RTS_IEC_INT>(type);
    alarm.iState = static_cast<RTS_IEC_INT>(state);
    alarm.psIconType = icon;
    alarm.psModuleName = module;
    alarm.dtDateTime = time;
    alarm.pstData = &data;
    alarm.pwsUser = user;
    alarm.iKeywordSize = 2;
    alarm.pasKeywords = "k";
    alarm.pastArguments = &argument;
    alarm.pastUrlArguments = &urlArgument;
    logalarm_ext(&alarm);
  }

  /** One step of the query; the BOOLs are returned as digits, 5 where one was not written. */
  std::string query() {
    RTS_IEC_BOOL active = 5;
    RTS_IEC_BOOL acknowledged = 5;
    getalarmstatefromalarmhandler_struct parameters{m_alarm->hWriteHandle, &active, &acknowledged, -1};
    getalarmstatefromalarmhandler_ext(&parameters);
    return std::to_string(parameters.iResult) + " " + std::to_string(active) + std::to_string(acknowledged);
  }

  static std::size_t queries() { return fake::calls("getAlarmState").size(); }

  std::unique_ptr<OpenAlarmHandle> m_alarm = std::make_unique<OpenAlarmHandle>();
};

// One handle lives through all rows: what was sent is "type state icon", nothing where the call was dropped.
TEST_F(AlarmHandlerTest, OnlyAnEdgeIsSentAndOnlyNeutralIsWarnedOf) {
  const struct {
    int type;
    int state;
    const char* icon;
    const char* sent;
    bool warned;
  } rows[] = {
      {0, 2, "", nullptr, false},        {0, 0, "", nullptr, true},       {0, 3, "", nullptr, false},
      {0, 1, "", "0 1 alarm-on", false}, {0, 1, "", nullptr, false},      {2, 1, "", nullptr, false},
      {0, 0, "", nullptr, true},         {0, -1, "", nullptr, false},     {0, 2, "", "0 2 alarm-off", false},
      {0, 2, "", nullptr, false},        {2, 1, "own", "2 1 own", false}, {2, 2, "", "2 2 fault-off", false},
      {77, 1, "", "77 1 ", false},       {0, 2, "own", "0 2 own", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.type << " " << row.state << " " << row.icon);
    fake::reset();
    log(row.type, row.state, row.icon);
    const auto sent = fake::calls("logEvent");
    ASSERT_EQ(sent.size(), row.sent == nullptr ? 0U : 1U);
    if (row.sent != nullptr) {
      EXPECT_EQ("%1 %2 %3"_q.arg(sent[0].arguments[0].toString(), sent[0].arguments[1].toString(),
                                 sent[0].arguments[2].toString()),
                QString::fromUtf8(row.sent));
    }
    EXPECT_EQ(
        messages(),
        row.warned
            ? std::vector<std::string>{"qWarning: TavrolineAlarmHandler: void "
                                       "TavrolineAlarmHandler::changeState(EventlistHandlerEnums::EventType,"
                                       " EventlistHandlerEnums::State, const QString&, const QString&, "
                                       "const QDateTime&, const QVariantMap&, const QStringList&, "
                                       "const QString&): Neutral alarm or fault not allowed"}
            : std::vector<std::string>{});
  }
}

TEST_F(AlarmHandlerTest, AnAlarmStillOnIsClearedOnCloseWithWhatWasStoredLast) {
  log(2, 1, "own", "kept", 1000);
  log(0, 1, "dropped", "dropped", 2000);
  m_alarm->close();
  const auto sent = fake::calls("logEvent");
  ASSERT_EQ(sent.size(), 2U);
  QVariantList expected = sent[0].arguments;
  EXPECT_EQ(expected[3], "kept"_q);
  EXPECT_EQ(expected[4], QDateTime::fromSecsSinceEpoch(1000, Qt::UTC));
  EXPECT_EQ(expected[5].toMap().size(), 7);
  EXPECT_EQ(expected.mid(6, 2), (QVariantList{QStringList{"k"_q}, "u"_q}));
  expected[1] = 2;
  expected[2] = "fault-off"_q;
  EXPECT_EQ(sent[1].arguments, expected);

  fake::reset();
  m_alarm = std::make_unique<OpenAlarmHandle>();
  log(0, 1);
  log(0, 2);
  m_alarm->close();
  EXPECT_EQ(fake::calls("logEvent").size(), 2U) << "one that is off sends nothing more";
  EXPECT_TRUE(fake::calls("logEvent")[0].arguments[4].toDateTime().isNull()) << "no time stamp stays none";
  m_alarm = std::make_unique<OpenAlarmHandle>();
}

TEST_F(AlarmHandlerTest, OpeningAndClosingWriteTheHandleAlone) {
  openalarmlistwritehandle_struct open{0x5A5A5A5A, nullptr};
  openalarmlistwritehandle_ext(&open);
  EXPECT_EQ(open.diReserved, 0x5A5A5A5A);
  ASSERT_NE(open.hWriteHandle, nullptr);
  closealarmlistwritehandle_struct close{open.hWriteHandle};
  closealarmlistwritehandle_ext(&close);
  EXPECT_EQ(close.hWriteHandle, nullptr);
}

TEST_F(AlarmHandlerTest, KeepsOneIdentifierOfItsOwn) {
  log(0, 1);
  log(0, 2);
  query();
  const QString id = fake::calls("logEvent")[0].arguments[8].toString();
  EXPECT_TRUE(QRegularExpression("^{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}}$"_q).match(id).hasMatch());
  EXPECT_EQ(fake::calls("logEvent")[1].arguments[8], id);
  EXPECT_EQ(fake::calls("getAlarmState")[0].arguments, QVariantList{id});
  m_alarm = std::make_unique<OpenAlarmHandle>();
  log(0, 1);
  EXPECT_NE(fake::calls("logEvent")[2].arguments[8], id);
}

TEST_F(AlarmHandlerTest, IsAQObjectKnownByItsNameAndNothingElse) {
  TavrolineAlarmHandler handler(nullptr);
  EXPECT_STREQ(handler.metaObject()->className(), "TavrolineAlarmHandler");
  EXPECT_EQ(handler.qt_metacast("TavrolineAlarmHandler"), &handler);
  EXPECT_EQ(handler.qt_metacast("QObject"), static_cast<QObject*>(&handler));
  EXPECT_EQ(handler.metaObject()->methodCount(), QObject::staticMetaObject.methodCount());
  EXPECT_EQ(handler.metaObject()->propertyCount(), QObject::staticMetaObject.propertyCount());
}

TEST_F(AlarmHandlerTest, AStateQueryIsStartedAndAskedUntilItDelivers) {
  const struct {
    const char* reply;
    const char* expected;
  } rows[] = {{R"({"AlarmActive":true,"AlarmAcknowledgment":false})", "0 10"},
              {R"({"AlarmActive":false,"AlarmAcknowledgment":true})", "0 01"},
              {R"({"AlarmActive":1,"AlarmAcknowledgment":"true"})", "0 00"},
              {"{}", "0 00"},
              {"garbage", "0 00"}};
  std::size_t started = 0;
  for (const auto& row : rows) {
    fake::answer("getAlarmState", {{2, {}}, {2, {}}, {0, row.reply}});
    fake::answer("getAlarmState", {{0, row.reply}});
    EXPECT_EQ(query(), "1 55");
    EXPECT_EQ(query(), "1 55");
    EXPECT_EQ(queries(), started + 1);
    EXPECT_EQ(query(), row.expected);
    EXPECT_EQ(query(), row.expected) << "the next call starts a new query, here one that is answered at once";
    started += 2;
    EXPECT_EQ(queries(), started);
  }
  EXPECT_EQ(fake::calls("isFinished").size(), 4 * sizeof rows / sizeof *rows) << "asked once per call";
  EXPECT_EQ(fake::calls("DBusPendingReply").size(), fake::calls("~DBusPendingReply").size() + 1)
      << "the old reply is released for the new one";
}

TEST_F(AlarmHandlerTest, ANullTargetIsLeftOutOfADeliveredState) {
  for (const bool wantActive : {true, false}) {
    fake::answer("getAlarmState", {{0, R"({"AlarmActive":true,"AlarmAcknowledgment":true})"}});
    RTS_IEC_BOOL value = 5;
    getalarmstatefromalarmhandler_struct parameters{m_alarm->hWriteHandle, wantActive ? &value : nullptr,
                                                    wantActive ? nullptr : &value, -1};
    getalarmstatefromalarmhandler_ext(&parameters);
    EXPECT_EQ(parameters.iResult, TAVROLINE_DONE);
    EXPECT_EQ(value, 1);
  }
}

TEST_F(AlarmHandlerTest, AFailedStateQueryIsRepeatedAfterFiveSeconds) {
  const std::string function =
      "TavrolineAlarmHandler: int16_t TavrolineAlarmHandler::getAlarmState(bool&, bool&): getAlarmState: ";
  fake::answer("getAlarmState", {{2, {}}, {1, "gone"}});
  EXPECT_EQ(query(), "1 55");
  EXPECT_EQ(query(), "2 55");
  EXPECT_EQ(records(), std::vector<std::string>{function + "DBus access error"});
  advanceMonotonicClock(4999);
  EXPECT_EQ(query(), "2 55");
  EXPECT_EQ(queries(), 1U);
  advanceMonotonicClock(1);
  fake::fail("getAlarmState", fake::Failure::Refuse);
  EXPECT_EQ(query(), "2 55");
  EXPECT_EQ(queries(), 2U);
  EXPECT_EQ(records().back(), function + "DBusPendingReply nullpointer");
  advanceMonotonicClock(4999);
  EXPECT_EQ(query(), "2 55") << "counted from the last failed query";
  advanceMonotonicClock(1);
  EXPECT_EQ(query(), "1 55");
  EXPECT_EQ(queries(), 3U);
}

}  // namespace
