#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <atomic>
#include <cstdarg>
#include <ctime>
#include <mutex>

#include "AlarmlistHandlerDBusConnectorRead.h"
#include "CodesysRuntime.h"
#include "EventlistHandlerDBusConnectorRead.h"
#include "Hub.h"
#include "ListServiceNames.h"
#include "PrivateBus.h"

namespace {

std::atomic<int> g_secondsAhead{0};
std::mutex g_logMutex;
std::string g_log;

RTS_RESULT keepRecord(void*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t, const char* format,
                      ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::lock_guard<std::mutex> lock(g_logMutex);
  g_log += std::string(va_arg(arguments, const char*)) + '\n';
  va_end(arguments);
  return 0;
}

bool logHolds(const std::string& text) {
  const std::lock_guard<std::mutex> lock(g_logMutex);
  return g_log.find(text) != std::string::npos;
}

Message event(const QString& module, const QVariantMap& description = {}) {
  Message message;
  message.eventType = EventlistHandlerEnums::EventTypeEvent;
  message.moduleName = module;
  message.description = description;
  return message;
}

Message edge(const QString& alarmId, EventlistHandlerEnums::State state) {
  Message message;
  message.eventType = EventlistHandlerEnums::EventTypeAlarm;
  message.state = state;
  message.alarmId = alarmId;
  return message;
}

constexpr auto kOn = EventlistHandlerEnums::StateOn;
constexpr auto kOff = EventlistHandlerEnums::StateOff;
const QString kAlarm = QStringLiteral("{a}");
const QString kOther = QStringLiteral("{b}");

class ClientTest : public ::testing::Test {
 protected:
  ClientTest() { g_secondsAhead = 0; }

  void TearDown() override {
    if (hub) expectBalance(hub->books());
  }

  static void expectBalance(const Books& books) {
    EXPECT_EQ(books.accepted, books.delivered + books.pending + books.superseded + books.dropped());
  }

  void startService(const std::vector<std::string>& arguments = {}) {
    service.emplace(TAVROLINE_LISTD, arguments);
    ASSERT_TRUE(bus.waitForName(ListServiceNames::kService));
  }

  static bool settled(const Hub& hub) {
    return eventually([&hub] { return hub.books().pending == 0; });
  }

  /** The status that the reply ends with; its text goes to `cause` or its object to `object`. */
  int finish(const DBusPendingReply::SharedPointer& reply) {
    ErrorContainer error(0, QString());
    int status = 2;
    eventually([&] { return (status = reply->isFinished(error)) != 2; });
    cause = error.getErrorMessage().toStdString();
    object = QJsonDocument::fromJson(reply->getReply().toByteArray()).object();
    return status;
  }

  /** Module names in the event list, newest first. */
  QStringList modules() {
    EXPECT_EQ(finish(hub->request(Request::Kind::EventList, QString())), 0) << cause;
    QStringList names;
    for (const QJsonValue entry : object[QStringLiteral("ListData")].toArray())
      names += entry.toObject()[QStringLiteral("ModuleName")].toString();
    return names;
  }

  bool isActive(const QString& alarmId) {
    EXPECT_EQ(finish(hub->request(Request::Kind::AlarmState, alarmId)), 0) << cause;
    return object[QStringLiteral("AlarmActive")].toBool();
  }

  PrivateBus bus;
  std::optional<ChildProcess> service;
  std::optional<Hub> hub{std::in_place};  // ends before service and bus
  std::string cause;
  QJsonObject object;
};

TEST_F(ClientTest, LoadShowsEverythingThatWasLoggedBeforeIt) {
  startService();
  QStringList expected;
  for (int i = 0; i < 500; ++i) {
    hub->submit(event(QString::number(i)));
    expected.prepend(QString::number(i));
  }
  EXPECT_EQ(modules(), expected);
  EXPECT_EQ(finish(hub->request(Request::Kind::EventList, QString(), 3)), 0);
  EXPECT_EQ(object[QStringLiteral("ListData")].toArray().size(), 3);
}

TEST_F(ClientTest, KilledServiceFailsTheLoadAndTheNextOneWorks) {
  startService();
  ASSERT_TRUE(modules().isEmpty());
  service->pause();
  const auto reply = hub->request(Request::Kind::EventList, QString());
  service->kill();
  EXPECT_EQ(finish(reply), 1);
  EXPECT_NE(cause, "");
  EXPECT_EQ(finish(hub->request(Request::Kind::EventList, QString())), 1);  // at once, there is no service
  startService();
  EXPECT_TRUE(eventually([&] { return finish(hub->request(Request::Kind::EventList, QString())) == 0; }));
}

TEST_F(ClientTest, MessagesOfAnOutageArriveOnceAndInOrder) {
  const std::vector<std::string> stored = {"--db", bus.folder() + "/lists.db"};
  QStringList expected;
  for (int round = 0; round < 4; ++round) {
    startService(stored);
    for (int i = 0; i < 300; ++i) {
      const QString name = QString::number(round * 300 + i);
      expected.prepend(name);
      EXPECT_TRUE(hub->submit(event(name)));
      if (i == 100 * round) service->kill();  // some before, some in flight, some after
      if (i == 150 && round == 2) bus.stop();
    }
    if (round == 2) bus.start();
  }
  startService(stored);
  ASSERT_TRUE(settled(*hub));
  EXPECT_EQ(modules(), expected);
  EXPECT_EQ(hub->books().delivered, 1200U);
}

TEST_F(ClientTest, FullQueueRefusesReportsTheGapAndKeepsAlarmEdges) {
  pfLogAdd = keepRecord;
  for (std::size_t i = 0; i < Outbox::kMessages; ++i)
    EXPECT_TRUE(hub->submit(event(QString())));
  for (int i = 0; i < 10; ++i)
    EXPECT_FALSE(hub->submit(event(QString())));
  for (const auto state : {kOn, kOff, kOn, kOff, kOn})
    EXPECT_TRUE(hub->submit(edge(kAlarm, state)));
  for (const auto state : {kOn, kOff})
    EXPECT_TRUE(hub->submit(edge(kOther, state)));
  EXPECT_EQ(hub->books().superseded, 4U);
  EXPECT_EQ(hub->books().count(Loss::QueueFull), 10U);
  expectBalance(hub->books());
  EXPECT_TRUE(
      eventually([] { return logHolds("10 message(s) lost, the queue is full: numbers 16385 to 16394"); }));
  startService();
  ASSERT_TRUE(settled(*hub));
  EXPECT_EQ(hub->books().delivered, Outbox::kMessages + 3);
  EXPECT_TRUE(isActive(kAlarm));
  EXPECT_FALSE(isActive(kOther));
}

TEST_F(ClientTest, EdgesOfOneAlarmKeepTheirOrderBetweenQueueAndRoom) {
  Outbox outbox;
  const auto deliver = [&outbox] { outbox.settle(*outbox.takeWrite(), std::nullopt); };
  for (std::size_t i = 0; i < Outbox::kMessages; ++i)
    outbox.accept(event(QString()));
  outbox.accept(edge(kAlarm, kOn));  // into the room
  deliver();
  for (const auto state : {kOff, kOn, kOff, kOn})
    outbox.accept(edge(kAlarm, state));  // and now there is a place in the queue
  for (std::size_t i = 1; i < Outbox::kMessages; ++i)
    deliver();
  EXPECT_FALSE(outbox.takeWrite(Outbox::kMessages + 1).has_value());
  const auto last = outbox.takeWrite();
  ASSERT_TRUE(last.has_value());
  EXPECT_TRUE((*last)->turnsOn() && !outbox.takeWrite().has_value());
  EXPECT_EQ(outbox.books().superseded, 4U);
  expectBalance(outbox.books());
}

TEST_F(ClientTest, WhatTheBusDoesNotCarryIsReplacedOrDropped) {
  startService();
  const QChar invalid[] = {QChar(0xFFFE), QChar(0xFDD0), QChar(0xD800), QChar(0), QLatin1Char('x')};
  EXPECT_TRUE(hub->submit(event(QString(invalid, 5))));
  EXPECT_TRUE(hub->submit(event(QString(), {{QStringLiteral("k"), QVariant(QDateTime::currentDateTime())}})));
  EXPECT_TRUE(hub->submit(event(QString(1 << 21, QLatin1Char('y')))));
  EXPECT_TRUE(hub->submit(event(QStringLiteral("last"))));
  EXPECT_EQ(modules(), (QStringList{QStringLiteral("last"), QString(4, QChar(0xFFFD)) + QLatin1Char('x')}));
  EXPECT_EQ(hub->books().count(Loss::Unsendable), 2U);
}

TEST_F(ClientTest, AlarmsThatAreOnAreRaisedAgainInAnEmptyService) {
  hub->submit(edge(kAlarm, kOn));
  hub->submit(edge(kOther, kOn));
  startService();
  EXPECT_TRUE(isActive(kAlarm));
  hub->submit(edge(kOther, kOff));
  ASSERT_TRUE(settled(*hub));
  service->kill();
  startService();
  EXPECT_TRUE(eventually([&] { return isActive(kAlarm); }));
  EXPECT_FALSE(isActive(kOther));
  EXPECT_EQ(hub->books().accepted, 3U);
  EXPECT_EQ(hub->books().delivered, 3U);
}

TEST_F(ClientTest, EachConnectorReportsEachDifferenceOnce) {
  hub.reset();
  const std::vector<std::string> stored = {"--db", bus.folder() + "/lists.db"};
  EventlistHandlerDBusConnectorRead one(true), two(true);
  AlarmlistHandlerDBusConnectorRead alarms(true);
  bool value = false;
  EXPECT_FALSE(one.changedFlagEventlist());
  startService(stored);
  ASSERT_TRUE(eventually([] { return Hub::instance().listState().alarms.current() != 0; }));
  EXPECT_FALSE(one.changedFlagEventlist());  // the first generation that is seen
  Hub::instance().submit(edge(kAlarm, kOn));
  EXPECT_TRUE(eventually([&] { return one.changedFlagEventlist(); }));
  EXPECT_TRUE(two.changedFlagEventlist());
  EXPECT_TRUE(eventually([&] { return alarms.changedFlagCentralDetector(value); }));
  EXPECT_TRUE(value);
  service->kill();
  startService(stored);
  const auto reply = one.getCompleteEventlist(QString());
  finish(reply);
  EXPECT_FALSE(one.changedFlagEventlist() || alarms.changedFlagCentralDetector(value));
  AlarmlistHandlerDBusConnectorRead late(true);
  EXPECT_FALSE(late.changedFlagAlarmlist());
  EXPECT_TRUE(late.changedFlagActiveAlarmInAlarmlist(value) && value);
  EXPECT_FALSE(late.changedFlagFaultInAlarmlist(value));
  Hub::instance().submit(edge(kAlarm, kOff));  // or it would be raised again in the other tests
  EXPECT_TRUE(settled(Hub::instance()));
}

TEST_F(ClientTest, DeadlinesEndWhatIsNotAnswered) {
  startService();
  ASSERT_TRUE(modules().isEmpty());
  service->pause();
  hub->submit(event(QString()));
  const auto reply = hub->request(Request::Kind::EventList, QString());
  ErrorContainer error(0, QString());
  // a second per look, so that both have been sent long before
  EXPECT_TRUE(eventually([&] { return ++g_secondsAhead > 5 && reply->isFinished(error) == 1; }));
  EXPECT_GE(g_secondsAhead, 9);
  EXPECT_EQ(hub->books().pending, 1U);
  g_secondsAhead += 30;
  EXPECT_TRUE(eventually([&] { return hub->books().count(Loss::Unanswered) == 1; }));
}

TEST_F(ClientTest, RequestsAreBoundedAndReleasedOnesAreNot) {
  startService();
  ASSERT_TRUE(modules().isEmpty());
  service->pause();
  const auto untilSent = [] { eventually([looks = 0]() mutable { return ++looks > 8; }); };
  for (int i = 0; i < 150; ++i) {
    const auto released = hub->request(Request::Kind::AlarmList, QString());
    untilSent();
  }
  hub->submit(event(QString()));
  untilSent();
  std::vector<DBusPendingReply::SharedPointer> replies(Outbox::kRequests);
  for (auto& reply : replies)
    reply = hub->request(Request::Kind::AlarmState, kAlarm);
  EXPECT_EQ(finish(hub->request(Request::Kind::AlarmState, kAlarm)), 1);
  EXPECT_EQ(cause, "too many outstanding requests");
  service->resume();
  for (const auto& reply : replies)
    EXPECT_EQ(finish(reply), 0) << cause;
  EXPECT_EQ(hub->books().delivered, 1U);  // the bus did not refuse it for too many answers owed
}

TEST_F(ClientTest, UnloadRightAfterTheFirstUseStillConnectsAndSends) {
  startService();
  for (int round = 0; round < 20; ++round) {
    hub.emplace();
    for (const auto state : {kOn, kOff})
      EXPECT_TRUE(hub->submit(edge(kAlarm, state)));
    hub.reset();
  }
  hub.emplace();
  EXPECT_EQ(modules().size(), 40);
}

TEST_F(ClientTest, UnloadIsShortWhateverStandsStill) {
  const std::function<void()> outages[] = {[] {}, [&] { bus.pause(); }, [&] { service->pause(); },
                                           [&] { service->kill(); }, [&] { bus.stop(); }};
  for (std::size_t row = 0; row < std::size(outages); ++row) {
    SCOPED_TRACE(row);
    pfLogAdd = keepRecord;
    hub.emplace();
    startService();
    EXPECT_FALSE(isActive(kAlarm));
    outages[row]();
    for (const auto state : {kOn, kOff})
      EXPECT_TRUE(hub->submit(edge(kAlarm, state)));
    const auto start = Clock::now();
    hub.reset();
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_EQ(logHolds("2 message(s) lost, not sent before unload: numbers 1 to 2"), row != 0);
    if (row == 1) bus.resume();
    service.reset();
  }
}

}  // namespace

LogAddFunction pfLogAdd = nullptr;

// The monotonic clock of this process can be moved forward, so that no test waits for a deadline.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
  const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  if (clock == CLOCK_MONOTONIC) time->tv_sec += g_secondsAhead.load();
  return result;
}
