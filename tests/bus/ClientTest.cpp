#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <csignal>
#include <thread>

#include "BusTest.h"
#include "EventlistHandlerEnums.h"
#include "HostLog.h"
#include "Hub.h"
#include "HubProcess.h"

using namespace Tavroline;

namespace {

bool logEvent(Hub& hub, const QString& module, const QVariantMap& description = {}) {
  return hub.submit([&](MessageWriter& message) {
    message.entry({}, 0, EventlistHandlerEnums::EventTypeEvent, 0, {}, module, {}, {}, {}, description);
  });
}

class ClientTest : public BusTest {
 protected:
  ClientTest() {
    s_process.secondsAhead = 0;
    HostLog::toFile(log);
  }

  /** Returns when the hub's thread has run a whole turn: it has sent what may be sent and ended what is due.
   */
  static void waitForHubTurn() {
    EXPECT_TRUE(eventually([turn = s_process.waits + 2] { return s_process.waits >= turn; }));
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
    EXPECT_EQ(finish(hub->request(RequestKind::EventList, QString())), 0) << cause;
    QStringList names;
    for (const QJsonValue entry : object[QStringLiteral("ListData")].toArray()) {
      names += entry.toObject()[QStringLiteral("ModuleName")].toString();
    }
    return names;
  }

  std::optional<Hub> hub{std::in_place};  // ends before service and bus
  std::string cause;
  QJsonObject object;
};

TEST_F(ClientTest, WhatCannotBeSentOrQueuedIsRefusedAndReported) {
  EXPECT_FALSE(logEvent(*hub, {}, {{QStringLiteral("k"), QDateTime()}}));
  EXPECT_FALSE(logEvent(*hub, QString(1 << 20, QLatin1Char('y'))));
  int accepted = 0;
  for (; logEvent(*hub, QString(4000, QLatin1Char('z'))); ++accepted) {
  }
  EXPECT_TRUE(eventually([&] {
    return fileHolds(log, "2 message(s) lost, too large or not transportable: handed over 2") &&
           fileHolds(log, "1 message(s) lost, the queue is full: handed over 2");
  }));
  startService();
  EXPECT_EQ(modules().size(), accepted);
}

TEST_F(ClientTest, ItsThreadInheritsNothingOfTheTaskThatStartsIt) {
  cpu_set_t all, one, processors;
  sched_getaffinity(0, sizeof all, &all);
  std::thread([&] {
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof one, &one);
    const sched_param fifo{50};
    sched_setscheduler(0, SCHED_FIFO, &fifo);  // where this user may
    hub->start();
  }).join();
  waitForHubTurn();
  sched_getaffinity(s_process.hubThread, sizeof processors, &processors);
  EXPECT_TRUE(CPU_EQUAL(&processors, &all));
  EXPECT_EQ(sched_getscheduler(s_process.hubThread), SCHED_OTHER);
  const std::string status = contentOf("/proc/self/task/" + std::to_string(s_process.hubThread) + "/status");
  const auto blocked = std::stoull(status.substr(status.find("SigBlk:") + 7), nullptr, 16);
  EXPECT_EQ(blocked >> (SIGSEGV - 1) & 1, 0U) << "a crash handler sees it";
  EXPECT_EQ(blocked >> (SIGTERM - 1) & 1, 1U);
}

TEST_F(ClientTest, WithoutItsThreadItFailsRequestsAndReportsWhatIsLost) {
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  const rlimit none{0, files.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_TRUE(logEvent(*hub, {}));
  const auto list = hub->request(RequestKind::EventList, {});
  setrlimit(RLIMIT_NOFILE, &files);
  EXPECT_EQ(finish(list), 1);
  hub.reset();
  EXPECT_TRUE(fileHolds(log, "1 message(s) lost, not confirmed before unload: numbers 1 to 1"));
}

TEST_F(ClientTest, AForkedChildDoesNothingAndLeavesTheParentsThreadAlone) {
  startService();
  EXPECT_TRUE(logEvent(*hub, QStringLiteral("earlier")));
  ASSERT_EQ(modules().size(), 1);
  const pid_t child = fork();
  if (child == 0) {
    alarm(10);
    ErrorContainer error(0, QString());
    const bool used = logEvent(*hub, {}) || hub->start() || hub->counters().accepted > 0 ||
                      hub->request(RequestKind::EventList, {})->isFinished(error) != 1;
    hub.reset();
    _exit(used ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  const unsigned turns = s_process.waits;
  std::this_thread::sleep_for(std::chrono::seconds(2));
  EXPECT_LT(s_process.waits - turns, 40U) << "it is idle";
  logEvent(*hub, QStringLiteral("later"));
  EXPECT_EQ(modules(), (QStringList{QStringLiteral("later"), QStringLiteral("earlier")}));
}

TEST_F(ClientTest, StrangersChangeNeitherTheOwnerNorTheStateOfTheLists) {
  startService();
  ASSERT_TRUE(modules().isEmpty());
  const Strings forged[] = {
      {"/org/freedesktop/DBus", "org.freedesktop.DBus.NameOwnerChanged",
       std::string("string:") + ListServiceNames::kService, "string:", "string::1.0"},
      {ListServiceNames::kEventListPath, std::string(ListServiceNames::kEventListInterface) + ".Changed",
       "uint64:99"},
      {ListServiceNames::kAlarmListPath,
       std::string(ListServiceNames::kAlarmListInterface) + ".DetectorChanged", "boolean:true"}};
  for (const Strings& signal : forged) {
    for (int i = 0; i < 10; ++i) {  // one of these is the hub
      Strings command = {"--system", "--dest=:1." + std::to_string(i)};
      command.insert(command.end(), signal.begin(), signal.end());
      ChildProcess stranger("dbus-send", command);
      EXPECT_EQ(stranger.wait(), 0) << stranger.output();
      EXPECT_TRUE(modules().isEmpty());
    }
  }
  EXPECT_EQ(hub->listState().events.count(), 0U);
  EXPECT_FALSE(hub->listState().flags[ListState::CentralDetector]);
}

TEST_F(ClientTest, ABusThatIsNotThereIsLookedForEverMoreRarely) {
  bus.stop();
  s_process.connections = 0;
  hub->start();
  for (int second = 0; second < 40; ++second) {
    waitForHubTurn();
    ++s_process.secondsAhead;
  }
  EXPECT_GT(s_process.connections, 15U);
  EXPECT_LT(s_process.connections, 30U) << "the pause has grown from 0.1 s to 2 s";
}

}  // namespace
