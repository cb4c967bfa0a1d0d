#include <systemd/sd-bus.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <deque>
#include <map>
#include <thread>

#include "BusTest.h"
#include "EventlistHandlerEnums.h"
#include "HostLog.h"
#include "Hub.h"
#include "HubProcess.h"
#include "ListObjects.h"
#include "MessagesObject.h"
#include "Schema.h"

using namespace Tavroline;

namespace {

/** What a list service stores; it survives the service's restart. */
struct Store {
  Store() { Schema::open(database); }

  /** The words of the entries, see SenderTest::submit(). */
  std::string words() {
    return database
        .queryText("SELECT group_concat(icon_type, ' ') FROM (SELECT icon_type FROM events ORDER BY id)")
        .toStdString();
  }
  std::string activeAlarms() {
    return database.queryText("SELECT group_concat(alarm_id, ' ') FROM alarms WHERE active").toStdString();
  }

  Database database{""};
};

/** The list service on the test's thread, in serve(). It makes the faults it is told to. */
class ScriptedService {
 public:
  ScriptedService() { restart(); }

  std::shared_ptr<Store> store = std::make_shared<Store>();  ///< another one is used from restart() on
  std::map<std::string, std::deque<std::string>> faults;     ///< by method: of its next calls, see disturb()
  Strings calls;                                             ///< their methods
  std::string endsAt;                                        ///< a word of a message that ends the service

  /** Ends the service without an answer, and starts it again. */
  void restart() {
    m_running.reset();
    m_running.emplace(store);
    sd_bus* const bus = m_running->bus.get();
    ASSERT_GE(sd_bus_add_filter(bus, nullptr, onMessage, this), 0);
    ASSERT_GE(sd_bus_request_name(bus, ListServiceNames::kService, 0), 0);
  }

  long callsOf(const std::string& method) const { return std::count(calls.begin(), calls.end(), method); }

  /** Answers calls until `done`. @param timeFlies while no call arrives */
  bool serve(const std::function<bool()>& done, bool timeFlies = true) {
    int quiet = 0;
    return eventually(
        [&] {
          const std::size_t before = calls.size();
          while (!m_ends && sd_bus_process(m_running->bus.get(), nullptr) > 0) {
          }
          m_running->lists.endTurn();
          if (m_ends) {
            m_ends = false;
            restart();
          }
          quiet = calls.size() > before ? 0 : quiet + 1;
          s_process.secondsAhead += timeFlies && quiet > 10 ? 1 : 0;
          return done();
        },
        std::chrono::minutes(10));
  }

 private:
  struct Running {
    explicit Running(std::shared_ptr<Store> itsStore)
        : store(std::move(itsStore)),
          service(store->database, {}),
          messages(bus.get(), service, counters, std::chrono::seconds(0)),
          lists(bus.get(), service, counters) {}

    static sd_bus* connected() {
      sd_bus* bus = nullptr;
      sd_bus_open_system(&bus);  // without a bus the objects fail
      return bus;
    }

    const std::shared_ptr<Store> store;
    std::unique_ptr<sd_bus, decltype(&sd_bus_close_unref)> bus{connected(), sd_bus_close_unref};
    ListService service;
    ClientCounters counters;
    MessagesObject messages;
    ListObjects lists;
  };

  static int onMessage(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    const bool isCall = sd_bus_message_is_method_call(message, nullptr, nullptr) > 0;
    return isCall && static_cast<ScriptedService*>(self)->disturb(message) ? 1 : 0;
  }

  /** Makes the next fault of this method. @return whether the service must not see the call */
  bool disturb(sd_bus_message* call) {
    const std::string method = sd_bus_message_get_member(call);
    calls.push_back(method);
    auto& queue = faults[method];
    std::string fault = queue.empty() ? "" : queue.front();
    if (!queue.empty()) {
      queue.pop_front();
    }
    if (method == "Send" && !endsAt.empty() && holds(call, endsAt)) {
      fault = "end";
    }
    m_ends = fault == "end" || fault == "late end";
    if (fault == "late end") {
      sd_bus_close(m_running->bus.get());  // the answer is lost
    } else if (fault == "form") {
      sd_bus_reply_method_return(call, "d", 1.0);
    } else if (fault == "numbers") {  // that make no sense
      sd_bus_reply_method_return(call, "ta(tu)", quint64{0}, 2, quint64{0}, 1, ~quint64{0}, 9);
    } else if (fault.find('.') != std::string::npos) {
      sd_bus_reply_method_errorf(call, fault.c_str(), "scripted");
    } else if (method == "GetTimeZone") {
      sd_bus_reply_method_return(call, "i", 12345);
      return true;
    }
    return !fault.empty() && fault != "late end";
  }

  static bool holds(sd_bus_message* send, const std::string& word) {
    const void* bytes = nullptr;
    std::size_t size = 0;
    sd_bus_message_skip(send, "stt");
    sd_bus_message_read_array(send, 'y', &bytes, &size);
    sd_bus_message_rewind(send, 1);
    return std::string_view(static_cast<const char*>(bytes), size).find(word) != std::string_view::npos;
  }

  std::optional<Running> m_running;
  bool m_ends = false;
};

class SenderTest : public BusTest {
 protected:
  SenderTest() {
    s_process.secondsAhead = 0;
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
  for (const std::string method : {"Resume", "ReportAlarms", "RaiseAlarms", "Send"}) {
    for (const auto& fault : faults) {
      if (method == "Send" && fault.size() > 3) {
        continue;  // a message would be dropped
      }
      SCOPED_TRACE(testing::Message() << method << ": " << fault.front() << " " << fault.size());
      hub.emplace();
      ScriptedService script;
      ASSERT_TRUE(deliver(script, {"+a"}));
      script.faults[method] = fault;
      script.store = std::make_shared<Store>();
      script.restart();
      ASSERT_TRUE(deliver(script, {"1", "+b", "2", "-b", "3"}));
      EXPECT_TRUE(script.serve([&] { return script.store->activeAlarms() == "a"; }));
      const bool waits = fault.size() > 3 && method != "Resume";  // the state, for the messages
      EXPECT_EQ(script.store->words(), waits ? "1 +b 2 -b 3 +a" : "+a 1 +b 2 -b 3");
      EXPECT_TRUE(script.faults[method].empty() || fault.front() == "late end") << "the call was not made";
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
    script.faults["Resume"] = {error, error, error, error, error};
    ASSERT_TRUE(deliver(script, {"1"}));
    EXPECT_EQ(records(text), 1);
    EXPECT_EQ(script.store->words(), "1");
  }
  EXPECT_EQ(records("time zone"), 2) << "once for each hub";
}

TEST_F(SenderTest, UnloadWritesEverythingWithoutWaitingForAnAnswer) {
  for (const std::string state : {"resumed", "not resumed", "paused", "refused once"}) {
    SCOPED_TRACE(state);
    hub.emplace();
    ScriptedService script;
    if (state == "resumed" || state == "paused") {
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
    submit(Strings(2000, "event"));
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
  EXPECT_EQ(records("not confirmed before unload"), 3) << "only the last one got answers";
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
    ASSERT_TRUE(eventually([this] { return isDone(); }));
    kill(pid(), SIGKILL);
    ASSERT_TRUE(bus.waitForName(ListServiceNames::kService, false));
  }
  EXPECT_EQ(hub->counters().delivered, 4U);
}

}  // namespace
