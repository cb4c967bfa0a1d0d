#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <atomic>
#include <ctime>

#include "BusTest.h"
#include "CodesysRuntime.h"
#include "Hub.h"
#include "RuntimeFunctions.h"

using namespace Tavroline;

namespace {

std::atomic<int> s_secondsAhead{0};
std::atomic<unsigned> s_hubTurns{0}, s_connectionAttempts{0};

Message event(const QString& module, const QVariantMap& description = {}) {
  Message message;
  message.eventType = EventlistHandlerEnums::EventTypeEvent;
  message.moduleName = module;
  message.description = description;
  return message;
}

Message edge(EventlistHandlerEnums::State state) {
  Message message;
  message.eventType = EventlistHandlerEnums::EventTypeAlarm;
  message.state = state;
  message.alarmId = QStringLiteral("{a}");
  return message;
}

Message large(Message message) {
  for (int i = 0; i < 60; ++i) {
    message.texts += QString(4000, QLatin1Char('x'));
  }
  return message;
}

constexpr auto kOn = EventlistHandlerEnums::StateOn;
constexpr auto kOff = EventlistHandlerEnums::StateOff;

class ClientTest : public BusTest {
 protected:
  ClientTest() {
    s_secondsAhead = 0;
    RuntimeFunctions::logToFile(log);
    getrlimit(RLIMIT_FSIZE, &limit);
    small = {262144, limit.rlim_max};
  }

  /** Returns when the hub's thread has run a whole turn: it has sent what may be sent and ended what is due.
   */
  static void waitForHubTurn() {
    EXPECT_TRUE(eventually([turn = s_hubTurns + 2] { return s_hubTurns >= turn; }));
  }

  static QJsonObject statistics() {
    ChildProcess ctl(TAVROLINE_CTL, {"stats", "--json"});
    ctl.wait();
    return QJsonDocument::fromJson(ctl.output().c_str()).object();
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
    for (const QJsonValue entry : object[QStringLiteral("ListData")].toArray()) {
      names += entry.toObject()[QStringLiteral("ModuleName")].toString();
    }
    return names;
  }

  std::optional<Hub> hub{std::in_place};  // ends before service and bus
  std::string cause;
  QJsonObject object;
  rlimit limit{}, small{};  // of files
};

TEST_F(ClientTest, MessagesOfAnOutageArriveOnceAndInOrder) {
  const Strings stored = {"--db", file("lists.db")};
  QStringList expected;
  for (int round = 0; round < 4; ++round) {
    startService(stored);
    for (int i = 0; i < 300; ++i) {
      const QString name = QString::number(round * 300 + i);
      expected.prepend(name);
      EXPECT_TRUE(hub->submit(event(name)));
      if (i == 100 * round) {
        service->kill();  // some before, some in flight, some after
      }
      if (i == 150 && round == 2) {
        bus.stop();
      }
    }
    if (round == 2) {
      bus.start();
    }
  }
  startService(stored);
  ASSERT_TRUE(eventually([&] { return hub->books().pending == 0; }));
  EXPECT_EQ(modules(), expected);
  EXPECT_EQ(hub->books().delivered, 1200U);
}

TEST_F(ClientTest, FullQueueRefusesReportsTheGapAndKeepsAlarmEdges) {
  for (std::size_t i = 0; i < Outbox::kMessages; ++i) {
    EXPECT_TRUE(hub->submit(event(QString())));
  }
  for (int i = 0; i < 10; ++i) {
    EXPECT_FALSE(hub->submit(event(QString())));
  }
  for (const auto state : {kOn, kOff, kOn, kOff, kOn}) {
    EXPECT_TRUE(hub->submit(edge(state)));
  }
  EXPECT_EQ(hub->books().superseded, 4U);
  EXPECT_EQ(hub->books().count(Loss::QueueFull), 10U);
  EXPECT_EQ(hub->books().pending, Outbox::kMessages + 1);
  EXPECT_TRUE(eventually(
      [&] { return fileHolds(log, "10 message(s) lost, the queue is full: numbers 16385 to 16394"); }));
  startService();
  ASSERT_TRUE(eventually([&] { return hub->books().pending == 0; }));
  EXPECT_EQ(hub->books().delivered, Outbox::kMessages + 1);
  EXPECT_EQ(finish(hub->request(Request::Kind::AlarmState, QStringLiteral("{a}"))), 0) << cause;
  EXPECT_TRUE(object[QStringLiteral("AlarmActive")].toBool());
}

TEST_F(ClientTest, EdgesOfOneAlarmKeepTheirOrderBetweenQueueAndOverflow) {
  Outbox outbox;
  const auto deliver = [&outbox] {
    const auto message = outbox.takeWrite();
    const bool turnsOn = (*message)->turnsOn();
    outbox.settle(*message, std::nullopt);
    return turnsOn;
  };
  for (std::size_t i = 0; i < Outbox::kMessages; ++i) {
    outbox.accept(event(QString()));
  }
  outbox.accept(edge(kOn));  // into the overflow
  deliver();
  for (const auto state : {kOff, kOn, kOff, kOn}) {
    outbox.accept(edge(state));  // although the queue has a free place again
  }
  for (std::size_t i = 1; i < Outbox::kMessages; ++i) {
    deliver();
  }
  EXPECT_FALSE(outbox.takeWrite(Outbox::kMessages + 1).has_value());
  EXPECT_TRUE(deliver());
  EXPECT_EQ(outbox.books().superseded, 4U);
  expectBalance(outbox.books().text().toStdString());
}

TEST_F(ClientTest, WhatTheBusDoesNotCarryIsDroppedAndCounted) {
  startService();
  EXPECT_TRUE(hub->submit(event(QString(), {{QStringLiteral("k"), QVariant(QDateTime::currentDateTime())}})));
  EXPECT_TRUE(hub->submit(event(QString(1 << 21, QLatin1Char('y')))));
  EXPECT_TRUE(hub->submit(event(QStringLiteral("last"))));
  EXPECT_EQ(modules(), QStringList{QStringLiteral("last")});
  EXPECT_EQ(hub->books().count(Loss::Unsendable), 2U);
}

TEST_F(ClientTest, WhatCannotBeStoredNowIsStoredLaterAndListsAreReadMeanwhile) {
  startService({"--db", file("lists.db")});
  prlimit(service->pid(), RLIMIT_FSIZE, &small, nullptr);
  ASSERT_TRUE(modules().isEmpty());
  service->pause();
  hub->submit(large(event(QStringLiteral("large"))));
  const auto list = hub->request(Request::Kind::EventList, QString());  // what follows is stored apart
  QStringList expected{QStringLiteral("large")};
  for (int i = 0; i < 40; ++i) {  // more than the client sends without an answer
    expected.prepend(QString::number(i));
    hub->submit(event(expected.front()));
  }
  waitForHubTurn();
  service->resume();
  EXPECT_EQ(finish(list), 0) << cause;
  EXPECT_TRUE(modules().isEmpty()) << "overtaken by a smaller one";
  EXPECT_EQ(hub->books().pending, 41U);
  prlimit(service->pid(), RLIMIT_FSIZE, &limit, nullptr);
  ASSERT_TRUE(eventually([&] { return hub->books().pending == 0; }));
  EXPECT_EQ(modules(), expected);
}

TEST_F(ClientTest, AnAlarmThatEndsBeforeItCouldBeRaisedAgainHoldsUpNothing) {
  startService();
  hub->submit(large(edge(kOn)));
  ASSERT_TRUE(eventually([&] { return hub->books().delivered == 1; }));
  setrlimit(RLIMIT_FSIZE, &small);
  startService({"--db", file("lists.db")});  // where there is no room for the alarm
  setrlimit(RLIMIT_FSIZE, &limit);
  ASSERT_TRUE(eventually([] { return statistics()[QStringLiteral("rejected")].toInt() > 0; }));
  hub->submit(edge(kOff));
  EXPECT_TRUE(eventually([&] { return hub->books().pending == 0; }));
}

TEST_F(ClientTest, OnlyTheBusCanNameTheOwnerOfTheService) {
  startService();
  ASSERT_TRUE(modules().isEmpty());
  for (int i = 0; i < 10; ++i) {  // one of these is the hub
    ChildProcess stranger("dbus-send",
                          {"--system", "--dest=:1." + std::to_string(i), "/org/freedesktop/DBus",
                           "org.freedesktop.DBus.NameOwnerChanged",
                           std::string("string:") + ListServiceNames::kService, "string:", "string::1.0"});
    EXPECT_EQ(stranger.wait(), 0) << stranger.output();
    EXPECT_TRUE(modules().isEmpty());
  }
}

TEST_F(ClientTest, ABusThatIsNotThereIsLookedForEverMoreRarely) {
  bus.stop();
  s_connectionAttempts = 0;
  hub->start();
  for (int second = 0; second < 40; ++second) {
    waitForHubTurn();
    ++s_secondsAhead;
  }
  EXPECT_GT(s_connectionAttempts, 15U);
  EXPECT_LT(s_connectionAttempts, 30U) << "the pause has grown from 0.1 s to 2 s";
}

TEST_F(ClientTest, DeadlinesEndWhatIsNotAnswered) {
  startService();
  ASSERT_TRUE(modules().isEmpty());
  service->pause();
  // More than the bus lets wait for a reply; each is released when it has been sent.
  for (int i = 0; i < 150; ++i) {
    const auto released = hub->request(Request::Kind::AlarmList, QString());
    waitForHubTurn();
  }
  hub->submit(event(QString()));
  std::vector<DBusPendingReply::SharedPointer> replies(Outbox::kRequests);
  for (auto& reply : replies) {
    reply = hub->request(Request::Kind::EventList, QString());
  }
  EXPECT_EQ(finish(hub->request(Request::Kind::EventList, QString())), 1) << "one too many";
  const auto statusAfter = [&](int seconds) {
    waitForHubTurn();
    s_secondsAhead = seconds;
    waitForHubTurn();
    ErrorContainer error(0, QString());
    return replies.front()->isFinished(error);
  };
  EXPECT_EQ(statusAfter(8), 2) << "a request has 10 s";
  EXPECT_EQ(statusAfter(11), 1);
  EXPECT_EQ(hub->books().pending, 1U) << "a message has 30 s";
  statusAfter(31);
  EXPECT_EQ(hub->books().count(Loss::Unanswered), 1U);
}

TEST_F(ClientTest, UnloadRightAfterTheFirstUseStillConnectsAndSends) {
  startService();
  for (int session = 0; session < 10; ++session) {
    hub->submit(event(QString()));
    hub.emplace();  // ends the one before
  }
  EXPECT_EQ(modules().size(), 10);
}

}  // namespace

LogAddFunction pfLogAdd = reinterpret_cast<LogAddFunction>(RuntimeFunctions::find("LogAdd"));

// The monotonic clock of this process can be moved forward, so that no test waits for a deadline.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
  const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  if (clock == CLOCK_MONOTONIC) {
    time->tv_sec += s_secondsAhead.load();
  }
  return result;
}

extern "C" __attribute__((visibility("default"))) int connect(int socket, const sockaddr* address,
                                                              socklen_t size) {
  ++s_connectionAttempts;
  return static_cast<int>(syscall(SYS_connect, socket, address, size));
}

// The hub's thread ends each turn with poll(), which tells a test that a whole turn has passed.
extern "C" __attribute__((visibility("default"))) int poll(pollfd* descriptors, nfds_t count,
                                                           int milliseconds) {
  ++s_hubTurns;
  const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000L};
  return ppoll(descriptors, count, milliseconds < 0 ? nullptr : &time, nullptr);
}
