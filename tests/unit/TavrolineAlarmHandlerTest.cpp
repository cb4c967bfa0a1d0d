#include "TavrolineAlarmHandler.h"

#include <QDateTime>
#include <QRegularExpression>

#include <tuple>

#include "UnitSupport.h"

namespace {

using State = std::tuple<int, int, int>;  // of the query: result, active, acknowledged
constexpr int kUnwritten = 5;
const State kBusy{TAVROLINE_BUSY, kUnwritten, kUnwritten};
const State kFailed{TAVROLINE_ERROR, kUnwritten, kUnwritten};

struct AlarmHandlerTest : ComponentTest {
  ~AlarmHandlerTest() override { close(); }
  void close() { handle = call<closealarmlistwritehandle_ext>(handle).hWriteHandle; }
  void log(int type, int state, const char* icon = "", unsigned int time = 0) {
    logEntry<logalarm_ext>(type, state, icon, icon, time, handle);
  }
  State query() {
    RTS_IEC_BOOL active = kUnwritten;
    RTS_IEC_BOOL acknowledged = kUnwritten;
    const int result = call<getalarmstatefromalarmhandler_ext>(handle, &active, &acknowledged, -1).iResult;
    return {result, active, acknowledged};
  }
  static std::size_t queries() { return fake::calls("getAlarmState").size(); }

  TavrolineHandle handle = call<openalarmlistwritehandle_ext>().hWriteHandle;
};

TEST_F(AlarmHandlerTest, OnlyAnEdgeIsSentAndOnlyNeutralIsWarnedOf) {
  const struct {
    int type, state;
    const char* icon;
    const char* sent;  ///< type, state and icon; empty: nothing
  } steps[] = {{TAVROLINE_ALARM, TAVROLINE_OFF, "", ""},
               {TAVROLINE_ALARM, TAVROLINE_NEUTRAL, "", ""},
               {TAVROLINE_ALARM, 3, "", ""},
               {TAVROLINE_ALARM, TAVROLINE_ON, "", "0 1 alarm-on"},
               {TAVROLINE_FAULT, TAVROLINE_ON, "own", ""},
               {TAVROLINE_ALARM, TAVROLINE_OFF, "", "0 2 alarm-off"},
               {TAVROLINE_FAULT, TAVROLINE_ON, "own", "2 1 own"},
               {TAVROLINE_FAULT, TAVROLINE_OFF, "", "2 2 fault-off"},
               {77, TAVROLINE_ON, "", "77 1 "},
               {TAVROLINE_ALARM, TAVROLINE_OFF, "own", "0 2 own"}};
  const Lines neutral{
      "qWarning: TavrolineAlarmHandler: void TavrolineAlarmHandler::changeState(EventlistHandlerEnums::"
      "EventType, EventlistHandlerEnums::State, const QString&, const QString&, const QDateTime&, "
      "const QVariantMap&, const QStringList&, const QString&): Neutral alarm or fault not allowed"};
  for (const auto& [type, state, icon, expected] : steps) {
    fake::reset();
    log(type, state, icon);
    QStringList sent;
    for (const fake::Call& call : fake::calls("logEvent")) {
      sent += QVariant(call.arguments.mid(0, 3)).toStringList();
    }
    EXPECT_EQ(sent.join(QLatin1Char(' ')), QString::fromUtf8(expected)) << type << " " << state;
    EXPECT_EQ(messages(), state == TAVROLINE_NEUTRAL ? neutral : Lines{});
  }
}

TEST_F(AlarmHandlerTest, AnAlarmStillOnIsClearedOnCloseWithItsIdentifierAndWhatWasStoredLast) {
  log(TAVROLINE_ALARM, TAVROLINE_ON);
  log(TAVROLINE_ALARM, TAVROLINE_OFF);
  log(TAVROLINE_FAULT, TAVROLINE_ON, "own", 1000);
  log(TAVROLINE_ALARM, TAVROLINE_ON, "dropped", 2000);
  query();
  close();
  handle = call<openalarmlistwritehandle_ext>().hWriteHandle;
  log(TAVROLINE_ALARM, TAVROLINE_ON);
  log(TAVROLINE_ALARM, TAVROLINE_OFF);
  close();
  const auto sent = fake::calls("logEvent");
  ASSERT_EQ(sent.size(), 6U) << "nothing more from one that is off";
  EXPECT_TRUE(sent[0].arguments[4].toDateTime().isNull()) << "a missing time stamp is passed on";
  QVariantList expected = sent[2].arguments;
  EXPECT_EQ(expected.mid(3, 2), (QVariantList{"own"_q, QDateTime::fromSecsSinceEpoch(1000, Qt::UTC)}));
  EXPECT_EQ(expected.mid(6, 2), (QVariantList{QStringList{"k"_q}, "u"_q}));
  const QString id = expected[8].toString();
  EXPECT_TRUE(QRegularExpression("^{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}}$"_q).match(id).hasMatch());
  EXPECT_EQ(sent[0].arguments[8], id);
  EXPECT_NE(sent[4].arguments[8], id) << "another handler's";
  EXPECT_EQ(fake::calls("getAlarmState").at(0).arguments, (QVariantList{id, true}));
  expected[1] = TAVROLINE_OFF;
  expected[2] = "fault-off"_q;
  EXPECT_EQ(sent[3].arguments, expected);
}

TEST_F(AlarmHandlerTest, AStateQueryIsStartedAndAskedUntilItDelivers) {
  const std::pair<const char*, State> rows[] = {
      {R"({"AlarmActive":true,"AlarmAcknowledgment":false})", {TAVROLINE_DONE, 1, 0}},
      {R"({"AlarmActive":false,"AlarmAcknowledgment":true})", {TAVROLINE_DONE, 0, 1}},
      {R"({"AlarmActive":1,"AlarmAcknowledgment":"true"})", {TAVROLINE_DONE, 0, 0}}};
  std::size_t started = 0;
  for (const auto& [reply, delivered] : rows) {
    fake::answer("getAlarmState", {{2, {}}, {2, {}}, {0, reply}});
    fake::answer("getAlarmState", {{0, reply}});
    for (const State& state : {kBusy, kBusy, delivered}) {
      EXPECT_EQ(query(), state);
    }
    EXPECT_EQ(queries(), ++started);
    EXPECT_EQ(query(), delivered) << "a new query, answered at once";
    EXPECT_EQ(queries(), ++started);
  }
  fake::answer("getAlarmState", {{0, R"({"AlarmActive":true})"}});
  EXPECT_EQ(call<getalarmstatefromalarmhandler_ext>(handle).iResult, TAVROLINE_DONE) << "null targets";
}

TEST_F(AlarmHandlerTest, AFailedStateQueryIsRepeatedAfterFiveSeconds) {
  const std::string place =
      "TavrolineAlarmHandler: int16_t TavrolineAlarmHandler::getAlarmState(bool&, bool&): getAlarmState: ";
  fake::answer("getAlarmState", {{2, {}}, {3, "gone"}});
  EXPECT_EQ(query(), kBusy);
  EXPECT_EQ(query(), kFailed);
  EXPECT_EQ(records(), Lines{place + "DBus access error"});
  fake::answer("getAlarmState", {});
  for (const std::size_t started : {1U, 2U}) {
    advanceMonotonicClock(4999);
    EXPECT_EQ(query(), kFailed) << "counted from the last failed query";
    EXPECT_EQ(queries(), started);
    advanceMonotonicClock(1);
    EXPECT_EQ(query(), started == 1 ? kFailed : kBusy);
    EXPECT_EQ(queries(), started + 1);
    EXPECT_EQ(records().back(), place + "DBusPendingReply nullpointer");
  }
}

TEST_F(AlarmHandlerTest, AnAlarmWithoutItsDescriptionIsReportedOnceAndNotSent) {
  const stDescriptionArgumentType argument{};
  const stDescriptionUrlArgumentType url{};
  for (const int missing : {0, 1, 2}) {
    fake::reset();
    call<logalarm_ext>(handle, TAVROLINE_ALARM, TAVROLINE_ON, "", "", 0, missing == 0 ? nullptr : &url.stData,
                       nullptr, 1, "", missing == 1 ? nullptr : &argument, missing == 2 ? nullptr : &url);
    EXPECT_EQ(items(), Lines{"codesys struct nullpointer"});
    EXPECT_TRUE(fake::calls("logEvent").empty());
  }
}

}  // namespace
