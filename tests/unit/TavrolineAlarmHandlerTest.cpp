#include "TavrolineAlarmHandler.h"

#include <QDateTime>
#include <QRegularExpression>

#include "UnitSupport.h"

namespace {

struct AlarmHandlerTest : ComponentTest {
  ~AlarmHandlerTest() override { close(); }
  void close() { m_handle = call<closealarmlistwritehandle_ext>(m_handle).hWriteHandle; }
  void log(int type, int state, const char* icon = "", unsigned int time = 0) {
    logEntry<logalarm_ext>(type, state, icon, icon, time, m_handle);
  }
  /** One step of the query; the BOOLs are digits, 5 where one was not written. */
  std::string query() {
    RTS_IEC_BOOL active = 5;
    RTS_IEC_BOOL acknowledged = 5;
    const int result = call<getalarmstatefromalarmhandler_ext>(m_handle, &active, &acknowledged, -1).iResult;
    return std::to_string(result) + " " + std::to_string(active) + std::to_string(acknowledged);
  }
  static std::size_t queries() { return fake::calls("getAlarmState").size(); }

  TavrolineHandle m_handle = call<openalarmlistwritehandle_ext>().hWriteHandle;
};

TEST_F(AlarmHandlerTest, OnlyAnEdgeIsSentAndOnlyNeutralIsWarnedOf) {
  const std::tuple<int, int, const char*, const char*> rows[] = {
      {0, 2, "", ""},       {0, 0, "", ""},          {0, 3, "", ""},           {0, 1, "", "0 1 alarm-on"},
      {0, 1, "", ""},       {2, 1, "own", ""},       {0, 0, "", ""},           {0, 2, "", "0 2 alarm-off"},
      {0, 2, "", ""},       {0, -1, "", ""},         {2, 1, "own", "2 1 own"}, {2, 2, "", "2 2 fault-off"},
      {77, 1, "", "77 1 "}, {0, 2, "own", "0 2 own"}};
  const Lines neutral{
      "qWarning: TavrolineAlarmHandler: void TavrolineAlarmHandler::changeState(EventlistHandlerEnums::"
      "EventType, EventlistHandlerEnums::State, const QString&, const QString&, const QDateTime&, "
      "const QVariantMap&, const QStringList&, const QString&): Neutral alarm or fault not allowed"};
  for (const auto& [type, state, icon, expected] : rows) {
    fake::reset();
    log(type, state, icon);
    QStringList sent;  // type, state, icon
    for (const fake::Call& call : fake::calls("logEvent")) {
      sent += QVariant(call.arguments.mid(0, 3)).toStringList();
    }
    EXPECT_EQ(sent.join(QLatin1Char(' ')), QString::fromUtf8(expected)) << type << state << icon;
    EXPECT_EQ(messages(), state == 0 ? neutral : Lines{});
  }
}

TEST_F(AlarmHandlerTest, AnAlarmStillOnIsClearedOnCloseWithItsIdentifierAndWhatWasStoredLast) {
  log(0, 1);
  log(0, 2);
  log(2, 1, "own", 1000);
  log(0, 1, "dropped", 2000);
  query();
  Reader(kAlarmKind).load();
  EXPECT_NE(fake::calls("getAlarmState").at(0).object, fake::calls("getCompleteAlarmlist").at(0).object);
  close();
  m_handle = call<openalarmlistwritehandle_ext>().hWriteHandle;
  log(0, 1);
  log(0, 2);
  close();
  const auto sent = fake::calls("logEvent");
  ASSERT_EQ(sent.size(), 6U) << "nothing more from one that is off";
  EXPECT_TRUE(sent[0].arguments[4].toDateTime().isNull()) << "no time stamp stays none";
  QVariantList expected = sent[2].arguments;
  EXPECT_EQ(expected.mid(3, 2), (QVariantList{"own"_q, QDateTime::fromSecsSinceEpoch(1000, Qt::UTC)}));
  EXPECT_EQ(expected.mid(6, 2), (QVariantList{QStringList{"k"_q}, "u"_q}));
  const QString id = expected[8].toString();
  EXPECT_TRUE(QRegularExpression("^{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}}$"_q).match(id).hasMatch());
  EXPECT_EQ(sent[0].arguments[8], id);
  EXPECT_NE(sent[4].arguments[8], id) << "another handler's";
  EXPECT_EQ(fake::calls("getAlarmState").at(0).arguments, QVariantList{id});
  expected[1] = 2;
  expected[2] = "fault-off"_q;
  EXPECT_EQ(sent[3].arguments, expected);
}

TEST_F(AlarmHandlerTest, AStateQueryIsStartedAndAskedUntilItDelivers) {
  using Row = std::pair<const char*, const char*>;
  std::size_t started = 0;
  for (const auto& [reply, expected] :
       {Row{R"({"AlarmActive":true,"AlarmAcknowledgment":false})", "0 10"},
        Row{R"({"AlarmActive":false,"AlarmAcknowledgment":true})", "0 01"},
        Row{R"({"AlarmActive":1,"AlarmAcknowledgment":"true"})", "0 00"}, Row{"garbage", "0 00"}}) {
    fake::answer("getAlarmState", {{2, {}}, {2, {}}, {0, reply}});
    fake::answer("getAlarmState", {{0, reply}});
    for (const char* result : {"1 55", "1 55", expected}) {
      EXPECT_EQ(query(), result);
    }
    EXPECT_EQ(queries(), ++started);
    EXPECT_EQ(query(), expected) << "a new query, answered at once";
    EXPECT_EQ(queries(), ++started);
  }
  EXPECT_EQ(fake::calls("isFinished").size(), 2 * started) << "asked once per call";
  fake::answer("getAlarmState", {{0, R"({"AlarmActive":true})"}});
  EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(m_handle).iResult, TAVROLINE_DONE) << "null targets";
}

TEST_F(AlarmHandlerTest, AFailedStateQueryIsRepeatedAfterFiveSeconds) {
  const std::string place =
      "TavrolineAlarmHandler: int16_t TavrolineAlarmHandler::getAlarmState(bool&, bool&): getAlarmState: ";
  fake::answer("getAlarmState", {{2, {}}, {3, "gone"}});
  EXPECT_EQ(query(), "1 55");
  EXPECT_EQ(query(), "2 55");
  EXPECT_EQ(records(), Lines{place + "DBus access error"});
  fake::refuse("getAlarmState");
  for (const std::size_t started : {1U, 2U}) {
    advanceMonotonicClock(4999);
    EXPECT_EQ(query(), "2 55") << "counted from the last failed query";
    EXPECT_EQ(queries(), started);
    advanceMonotonicClock(1);
    EXPECT_EQ(query(), started == 1 ? "2 55" : "1 55");
    EXPECT_EQ(queries(), started + 1);
    EXPECT_EQ(records().back(), place + "DBusPendingReply nullpointer");
  }
}

TEST_F(AlarmHandlerTest, AnAlarmWithoutItsDescriptionIsReportedOnceAndNotSent) {
  const stDataType data{};
  const stDescriptionArgumentType argument{};
  const stDescriptionUrlArgumentType url{};
  for (const int missing : {0, 1, 2}) {
    fake::reset();
    call<logalarm_ext>(m_handle, 0, 1, "", "", 0, missing == 0 ? nullptr : &data, nullptr, 1, "",
                       missing == 1 ? nullptr : &argument, missing == 2 ? nullptr : &url);
    EXPECT_EQ(items(), Lines{"codesys struct nullpointer"});
    EXPECT_TRUE(fake::calls("logEvent").empty());
  }
}

}  // namespace
