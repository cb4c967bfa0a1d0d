#include <csignal>
#include <cstring>
#include <thread>

#include "EventlistHandlerEnums.h"
#include "HostLog.h"
#include "Hub.h"
#include "ScriptedService.h"

using namespace Tavroline;

namespace {

class SenderTest : public BusTest {
 protected:
  SenderTest() {
    s_process.secondsAhead = 0;
    s_process.skipsWaits = false;
    HostLog::toFile(log);
  }

  /** Hands messages over: "+a" turns alarm a on, "-a" turns it off, any other word is an event; "?a" has an
   * alarm's identifier and state. @param length of a text that makes each longer */
  void submit(const Strings& words, int length = 0) {
    for (const std::string& word : words) {
      const bool named = std::strchr("+-?", word[0]) != nullptr;
      EXPECT_TRUE(hub->submit([&](MessageWriter& message) {
        message.entry(
            named ? QString::fromStdString(word.substr(1)) : QString(),
            word[0] == '-' ? EventlistHandlerEnums::StateOff : EventlistHandlerEnums::StateOn,
            word[0] == '?' ? EventlistHandlerEnums::EventTypeEvent : EventlistHandlerEnums::EventTypeAlarm, 0,
            QString::fromStdString(word), QString(length, QLatin1Char('x')), {}, {}, {}, {});
      }));
    }
  }
  /** Hands messages over and serves until they are confirmed. */
  bool deliver(ScriptedService& script, const Strings& words, int length = 0) {
    submit(words, length);
    return script.serve([this] { return isDone(); });
  }
  bool isDone() const { return hub->counters().pending == 0; }

  int records(const char* text) const { return QByteArray::fromStdString(contentOf(log)).count(text); }

  std::optional<Hub> hub{std::in_place};  ///< ends before service and bus
};

TEST_F(SenderTest, NothingIsLostOrDoubledAfterAFaultOfAnyCall) {
  const std::vector<std::deque<std::string>> faults = {
      {"end", "end"},
      {"end", "end", "end", "end"},
      {"late end", "late end"},
      {"silence", "silence", "end"},  // hangs for a minute
      {"form", "numbers"},
      {SD_BUS_ERROR_LIMITS_EXCEEDED, SD_BUS_ERROR_NO_MEMORY},
      {SD_BUS_ERROR_ACCESS_DENIED, SD_BUS_ERROR_UNKNOWN_METHOD},
      {ListServiceNames::kErrorStorage, ListServiceNames::kErrorStorage},
      {ListServiceNames::kErrorInvalid, ListServiceNames::kErrorNotNow}};
  for (const std::string method : {"Resume", "ReportAlarms", "RaiseAlarms", "Send", "GetState"}) {
    for (const auto& fault : faults) {
      if ((method == "Send" || method == "GetState") && fault.size() > 3) {
        continue;  // a message would be dropped
      }
      SCOPED_TRACE(testing::Message() << method << ": " << fault.front() << " " << fault.size());
      hub.emplace();
      ScriptedService script;
      ASSERT_TRUE(deliver(script, {"+a"}));
      script.faults[method] = fault;
      script.calls.clear();
      script.store = std::make_shared<Store>();
      script.restart();
      ASSERT_TRUE(deliver(script, {"1", "+b", "2", "-b", "3"}));
      EXPECT_TRUE(script.serve([&] { return script.store->activeAlarms() == "a"; }));
      const bool waits = fault.size() > 3 && method != "Resume";  // the state, for the messages
      EXPECT_EQ(script.store->words(), waits ? "1 +b 2 -b 3 +a" : "+a 1 +b 2 -b 3");
      EXPECT_TRUE(fault.front() == "late end" ||
                  script.serve([&] { return script.callsOf(method) > static_cast<long>(fault.size()); }));
      EXPECT_EQ(hub->counters().dropped, 0U);
    }
  }
}

TEST_F(SenderTest, AnAnswerThatCountsBeyondWhatIsSentAgainIsBelieved) {
  ScriptedService script;
  script.faults["Send"] = {"late end", "end"};
  submit({"1", "+a"});
  ASSERT_TRUE(script.serve([&] { return script.callsOf("Send") == 1; }));
  const auto both = script.store;  // has both messages, the answer was lost
  script.store = std::make_shared<Store>();
  script.restart();
  ASSERT_TRUE(script.serve([&] { return script.callsOf("Send") == 2; }));  // the first message alone
  script.store = both;
  script.restart();
  ASSERT_TRUE(script.serve([this] { return isDone(); }));
  EXPECT_EQ(script.store->activeAlarms(), "a") << "what the client does not know was turned off";
}

TEST_F(SenderTest, AlarmsWithoutRoomAtTheServiceOrInTheClientStayOn) {
  ScriptedService script;
  script.store->database.execute(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION SELECT i + 1 FROM n WHERE i < 10000)"
      " INSERT INTO alarms SELECT i, i, 0, 0, 0, '', '', 0, '{}', '[]', '' FROM n");
  submit({"+a"});
  EXPECT_TRUE(script.serve([&] { return script.callsOf("RaiseAlarms") > 0; }));
  EXPECT_EQ(hub->counters().count(Loss::Rejected), 1U);
  script.store->database.execute("DELETE FROM alarms");
  EXPECT_TRUE(script.serve([&] { return script.store->activeAlarms() == "a"; }));
  std::string all = "a";
  for (const char* alarm = "bcdefghijklmnopqrstu"; *alarm != '\0'; ++alarm) {  // their messages have 20 MB
    ASSERT_TRUE(deliver(script, {std::string("+") + *alarm}, 1000000));
    all += std::string(" ") + *alarm;
  }
  ASSERT_TRUE(deliver(script, {"?no edge"}));
  script.calls.clear();
  script.restart();
  ASSERT_TRUE(deliver(script, {"1"}));
  EXPECT_EQ(script.store->activeAlarms(), all);
  EXPECT_EQ(script.callsOf("RaiseAlarms"), 0);
}

TEST_F(SenderTest, ARequestWaitsForTheMessagesBeforeItUnlessNothingCanBeStored) {
  const std::map<std::string, Strings> orders = {
      {SD_BUS_ERROR_LIMITS_EXCEEDED, {"Send", "Send", "GetList"}},
      {ListServiceNames::kErrorStorage, {"Send", "GetList", "Send"}}};
  ScriptedService script;
  for (const auto& [error, order] : orders) {
    script.faults["Send"] = {error};
    submit({"1"});
    const auto list = hub->request(RequestKind::EventList, QString());
    ErrorContainer cause(0, QString());
    ASSERT_TRUE(script.serve([&] { return isDone() && list->isFinished(cause) == 0; }, false));
    Strings calls;
    std::copy_if(script.calls.begin(), script.calls.end(), std::back_inserter(calls),
                 [](const std::string& method) { return method == "Send" || method == "GetList"; });
    EXPECT_EQ(Strings(calls.end() - 3, calls.end()), order) << error;
  }
}

TEST_F(SenderTest, AfterAFullDiskARequestWaitsForTheAnswerUnderWay) {
  ScriptedService script;
  script.faults["Send"] = {ListServiceNames::kErrorStorage};
  script.faults["Resume"] = {"", "silence"};
  submit({"1"});
  ASSERT_TRUE(script.serve([&] { return script.callsOf("Resume") == 2; }));
  const auto list = hub->request(RequestKind::EventList, QString());
  ErrorContainer cause(0, QString());
  EXPECT_TRUE(script.serve([&] { return list->isFinished(cause) != 2; }));
  EXPECT_EQ(list->isFinished(cause), 1) << "a list without the message";
}

TEST_F(SenderTest, RequestsEndAtTheirDeadlineAndMakeRoomForOthersReadOrNot) {
  ScriptedService script;
  script.faults["GetList"] = std::deque<std::string>(100, "silence");
  ErrorContainer cause(0, QString());
  const auto statusOf = [&](const DBusPendingReply::SharedPointer& reply) {
    return reply->isFinished(cause);
  };
  const auto isOneTooMany = [&](const DBusPendingReply::SharedPointer& reply) {
    return statusOf(reply) == 1 && cause.getErrorMessage().startsWith(QLatin1String("too many"));
  };
  std::vector<std::vector<DBusPendingReply::SharedPointer>> kept(
      4);  // more than the bus lets wait for a reply
  for (auto& replies : kept) {
    replies.resize(Requests::kSlots);
    for (auto& reply : replies) {
      reply = hub->request(RequestKind::EventList, QString());
      ASSERT_FALSE(isOneTooMany(reply));
    }
    const bool isFirst = &replies == kept.data();  // later ones may end with the connection
    EXPECT_TRUE(!isFirst || isOneTooMany(hub->request(RequestKind::EventList, QString())));
    const int start = s_process.secondsAhead;
    for (std::size_t i = 1; i < replies.size(); i += 2) {  // the others end unread
      ASSERT_TRUE(script.serve([&] { return statusOf(replies[i]) != 2; }));
      EXPECT_EQ(statusOf(replies[i]), 1);
    }
    EXPECT_TRUE(!isFirst || s_process.secondsAhead - start >= 9);
  }
  EXPECT_EQ(statusOf(kept.front().front()), 1);
  EXPECT_EQ(cause.getErrorMessage(), QLatin1String("the reply was given up for a newer request"));
  EXPECT_TRUE(deliver(script, {"1"}));
}

TEST_F(SenderTest, AMessageThatEndsTheServiceThreeTimesIsDroppedAlone) {
  ScriptedService script;
  script.endsAt = "poison";
  submit(Strings(20, "before"));
  ASSERT_TRUE(deliver(script, {"poison", "after"}));
  EXPECT_EQ(QString::fromStdString(script.store->words()),
            QStringLiteral("before ").repeated(20) + QLatin1String("after"));
  EXPECT_EQ(hub->counters().count(Loss::EndsService), 1U);
  EXPECT_LT(script.callsOf("Resume"), 20) << "each end of the service is followed by one";
}

TEST_F(SenderTest, ARefusalThatLastsIsLoggedOnceAndTheMessagesWait) {
  const std::map<const char*, const char*> texts = {
      {SD_BUS_ERROR_ACCESS_DENIED, "the bus does not let this program write"},
      {SD_BUS_ERROR_UNKNOWN_OBJECT, "the list service is of another version"}};
  for (const auto& [error, text] : texts) {
    hub.emplace();
    ScriptedService script;
    script.faults["Resume"] = std::deque<std::string>(10, error);
    submit({"1"});
    const auto start = Clock::now();
    s_process.skipsWaits = true;
    ASSERT_TRUE(script.serve([this] { return isDone(); }, false));
    s_process.skipsWaits = false;
    EXPECT_LT(Clock::now() - start, std::chrono::minutes(5)) << "no pause is longer than 2 s";
    EXPECT_EQ(records(text), 1);
    EXPECT_EQ(script.store->words(), "1");
  }
  EXPECT_EQ(records("time zone"), 2) << "once for each hub";
}

TEST_F(SenderTest, UnloadWritesEverythingWithoutWaitingForAnAnswer) {
  for (const std::string state : {"resumed", "more than a window", "not resumed", "paused", "refused once"}) {
    SCOPED_TRACE(state);
    hub.emplace();
    ScriptedService script;
    if (state != "not resumed" && state != "refused once") {
      ASSERT_TRUE(deliver(script, {"+a"}));
    }
    if (state != "paused") {
      hub->request(RequestKind::EventList, QString());
      submit({"first"});
      EXPECT_TRUE(eventually([end = s_process.waits + 10] { return s_process.waits >= end; }));
    }  // the calls are under way
    auto& faults = script.faults[state == "paused" ? "Send" : "Resume"];
    if (state == "paused") {
      faults = std::deque<std::string>(6, ListServiceNames::kErrorStorage);
      submit({"1"});
      ASSERT_TRUE(script.serve([&] { return faults.empty(); }));
    } else if (state == "refused once") {
      faults = {ListServiceNames::kErrorNotNow, ListServiceNames::kErrorNotNow};
    }
    submit(Strings(2000, "event"), state == "more than a window" ? 3000 : 0);
    submit({"-a"});
    const auto before = std::chrono::steady_clock::now();
    std::atomic<bool> ended{false};
    std::thread unload([&] {
      hub.reset();
      ended = true;
    });
    if (state == "refused once") {
      EXPECT_TRUE(script.serve([&] { return ended.load(); }, false));
    }
    unload.join();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(700));
    EXPECT_TRUE(script.serve([&] { return script.store->words().find("event -a") != std::string::npos; }));
    EXPECT_EQ(script.store->activeAlarms(), "");
  }
  EXPECT_EQ(records("not confirmed before unload"), 4) << "only the last one got answers";
}

TEST_F(SenderTest, AnIdleHubWakesTenTimesASecondAndNeverSpins) {
  const auto isIdle = [] { return eventually([] { return s_process.lastWait == 100; }); };
  hub->start();
  EXPECT_TRUE(isIdle()) << "no service";
  startService();
  submit({"1"});
  ASSERT_TRUE(eventually([this] { return isDone(); }));
  EXPECT_TRUE(isIdle()) << "after traffic";
  const unsigned honest = s_process.waits - s_process.lies;
  const unsigned lies = s_process.lies;
  s_process.pollLies = true;
  EXPECT_TRUE(eventually([&] { return s_process.waits - s_process.lies >= honest + 3; }));
  s_process.pollLies = false;
  EXPECT_LE(s_process.lies - lies, 4U) << "the hub must not spin while a descriptor stays ready";
  bus.stop();
  s_process.lastWait = 0;
  EXPECT_TRUE(isIdle()) << "no bus";
}

TEST_F(SenderTest, AKilledServiceIsStartedAgainWhileMessagesWait) {
  bus.addService(ListServiceNames::kService, "/bin/sh -c 'echo $$ > " + file("pid") +
                                                 "; exec " TAVROLINE_LISTD " --db " + file("lists.db") + "'");
  const auto pid = [this] { return std::atoi(contentOf(file("pid")).c_str()); };
  for (int i = 0; i < 4; ++i) {
    submit({"1"});
    ASSERT_TRUE(eventually([this] { return isDone(); }, Milliseconds(5000)));
    kill(pid(), SIGKILL);
    ASSERT_TRUE(bus.waitForName(ListServiceNames::kService, false));
  }
  EXPECT_EQ(hub->counters().delivered, 4U);
}

}  // namespace
