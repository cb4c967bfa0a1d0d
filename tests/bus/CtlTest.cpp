// What a person sees of the lists through tavroline-ctl.
#include <sstream>

#include "HostLog.h"
#include "Runtime.h"

namespace {

const int kZone = setenv("TZ", "UTC", 1);  // before there are threads

std::string ctl(const Strings& arguments, int status = 0) {
  ChildProcess program(TAVROLINE_CTL, arguments);
  EXPECT_EQ(program.wait(), status) << program.output();
  return program.output();
}

/** The cells below a title of the printed table. */
Strings column(const std::string& title, const Strings& arguments) {
  std::istringstream lines(ctl(arguments));
  std::string line;
  std::getline(lines, line);
  const auto start = line.find(title);
  Strings cells;
  while (std::getline(lines, line)) {
    cells.push_back(line.substr(start, line.find("  ", start) - start));
  }
  return cells;
}

class CtlTest : public BusTest {
 protected:
  CtlTest() {
    startService();
    HostLog::toFile(log);
  }
  Runtime runtime;
};

TEST_F(CtlTest, ShowsTheEntriesThatPassTheFiltersAndAcknowledgesByTheBeginningOfAnIdentifier) {
  service.reset();
  ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService, false));
  service.emplace("env", Strings{"TZ=UTC+5", TAVROLINE_LISTD});  // its clock is behind
  ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService)) << service->output();
  logevent_struct old{};
  old.dtDateTime = 946728000;  // noon of 2000-01-01
  old.stKeywordsDimInfo = {0, -1};
  runtime.logEvent("Valve", 0, old);
  runtime.logEvent("Valve");
  const TavrolineHandle fault = runtime.open(Runtime::kAlarmHandler);
  runtime.logAlarm(runtime.open(Runtime::kAlarmHandler), TAVROLINE_ALARM, TAVROLINE_ON);
  runtime.logAlarm(fault, TAVROLINE_FAULT, TAVROLINE_ON);
  runtime.logAlarm(fault, TAVROLINE_FAULT, TAVROLINE_OFF);
  const Strings all{"5", "4", "3", "2", "1"};
  ASSERT_TRUE(eventually([&] { return column("ID", {"events"}) == all; }));

  const struct {
    const char* title;
    Strings command;
    Strings cells;
  } rows[] = {
      {"ID", {"events", "--type", "alarm,fault"}, {"5", "4", "3"}},
      {"ID", {"events", "--since", "1h"}, {"5", "4", "3", "2"}},
      {"ID", {"events", "-s", "yesterday"}, {"5", "4", "3", "2"}},
      {"ID", {"events", "--since", "@946727999", "--until", "1w"}, {"1"}},
      {"ID", {"events", "--since", "1999-12-31T10:00", "--until", "2000-01-01"}, {"1"}},
      {"ID", {"events", "--since", "2000-01-01T06:59", "--until", "2000-01-01T12:01Z"}, {"1"}},
      {"ID", {"events", "--keyword", "fire", "--keyword", "water"}, {"5", "4", "3", "2"}},
      {"ID", {"events", "--without", "water"}, {"1"}},
      {"TYPE", {"alarms", "--inactive", "--unacknowledged"}, {"fault"}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(column(row.title, row.command), row.cells) << testing::PrintToString(row.command);
  }
  EXPECT_NE(ctl({"events", "--json"}).find("2000-01-01T07:00:00.000-05:00"), std::string::npos);
  ctl({"ack", column("ID", {"alarms", "--active"}).at(0).substr(0, 9), "--user", "Kim"});
  EXPECT_EQ(column("TYPE", {"alarms", "--acknowledged"}), Strings{"alarm"});
  EXPECT_NE(ctl({"doctor"}, 1).find("time zone  BAD  the service's local time is UTC-05:00"),
            std::string::npos);
}

TEST_F(CtlTest, ChangesTheListsByHandAndLeavesATrail) {
  const std::string ask = std::string(TAVROLINE_CTL) + " delete-events";
  ctl({"log", "Filter changed"});
  ctl({"log", "-t", "event", "-u", "Kim", "Belt off"});
  EXPECT_EQ(ctl({"raise", "--id", "tank-1", "-m", "Tank", "Level high"}), "tank-1\n");
  ctl({"raise", "--id", "tank-1", "Level low"}, 1);
  ctl({"clear", "tank-1"});
  ctl({"clear", "tank-1"}, 1);
  ctl({"ack", "tank-1"});
  EXPECT_EQ(column("ID", {"alarms"}), Strings{});
  ChildProcess terminal("script", {"-qec", ask, file("typescript")});  // ends at the question: nobody answers
  EXPECT_EQ(terminal.wait(), 1) << terminal.output();
  const std::string subject = "Tank: Level high";
  const Strings trail{"Alarm acknowledged: " + subject, "Alarm cleared by hand: " + subject,
                      "Alarm raised by hand: " + subject, "Event logged by hand: Belt off", "Filter changed"};
  EXPECT_EQ(column("DESCRIPTION", {"events", "--type", "audit"}), trail);
  EXPECT_EQ(column("DESCRIPTION", {"events", "--type", "alarm,event"}),
            (Strings{subject, subject, "Belt off"}));
  const Strings users = column("USER", {"events"});
  EXPECT_EQ(std::count(users.begin(), users.end(), ""), 0);
  EXPECT_EQ(std::count(users.begin(), users.end(), "Kim"), 2);
  ctl({"delete-events"});
  EXPECT_EQ(column("DESCRIPTION", {"events"}), Strings{"Event list deleted"}) << "without a terminal";
}

TEST_F(CtlTest, SaysWhatIsWrongAndWhatToDo) {
  const auto expect = [](const Strings& arguments, int status, const char* said) {
    EXPECT_NE(ctl(arguments, status).find(said), std::string::npos) << said;
  };
  expect({"doctor"}, 0, "policy     OK");
  expect({"evnets"}, 2, "not expected: evnets");
  expect({"events", "--since", "soon"}, 2, "'soon' is no time");
  expect({"events", "--since", "1h", "--until", "2h"}, 2, "no entry can pass");
  expect({"ack", "{none}", "--user", "Kim"}, 1, "no such alarm");
  service.reset();
  expect({"events"}, 4, "start tavroline-listd");
  expect({"doctor"}, 1, "service    BAD");
  bus.addService(Tavroline::ListServiceNames::kService, TAVROLINE_LISTD);
  expect({"doctor"}, 0, "service    OK   org.tavroline.ListService1 does not run");
  bus.stop();
  expect({"events"}, 3, "no connection to the bus");
}

TEST_F(CtlTest, FollowsTheListThroughARestartOfAServiceThatForgets) {
  runtime.logEvent("Valve 1");
  ChildProcess follower(TAVROLINE_CTL, {"events", "--follow"});
  const auto shows = [&](const char* name) { return follower.output().find(name) != std::string::npos; };
  ASSERT_TRUE(eventually([&] { return shows("Valve 1"); }));
  follower.pause();
  startService();
  runtime.logEvent("Valve 2");
  runtime.logEvent("Valve 3");
  ASSERT_TRUE(eventually([] { return column("ID", {"events"}) == Strings{"2", "1"}; }));
  follower.resume();
  ASSERT_TRUE(eventually([&] { return shows("Valve 3"); }));
  EXPECT_TRUE(shows("Valve 2")) << follower.output();
}

TEST_F(CtlTest, FollowsThroughARestartOfTheBusAndEndsWithItsReader) {
  std::vector<std::unique_ptr<ChildProcess>> readers;
  for (const char* command : {"events", "alarms", "stats --interval 1"}) {
    const std::string follow = std::string(TAVROLINE_CTL " ") + command + " --follow --json";
    const std::string script =
        follow +
        R"( | while read -r line; do echo "$line"; [[ $line =~ '"id"'|'"alarm":true' ]] && break; done)";
    readers.push_back(std::make_unique<ChildProcess>("bash", Strings{"-c", script}));
  }
  for (const auto& reader : readers) {
    ASSERT_TRUE(eventually([&] { return reader->output().find('{') != std::string::npos; }));
  }
  bus.stop();
  bus.start();
  startService();
  ctl({"raise", "hot"});
  for (const auto& reader : readers) {
    EXPECT_EQ(reader->wait(), 0) << reader->output();
  }
}

TEST_F(CtlTest, CutsCellsOnATerminalAndPadsThemWithinBoundsInAPipe) {
  ctl({"log", "-u", "Kim", "-m", std::string(200, 'x'), "x"});
  ctl({"log", "-u", "Kim", "溶解槽の温度😀"});
  const std::string text = "Kim   溶解槽の温度😀";
  const std::pair<int, std::string> rows[] = {{0, "audit" + std::string(52, ' ') + text},
                                              {0, std::string(200, 'x') + "  Kim"},
                                              {80, text},
                                              {60, "Kim   溶解槽の温度…"},
                                              {54, "Kim   溶解槽…"}};
  for (const auto& [columns, shown] : rows) {
    const std::string size = "stty cols " + std::to_string(columns) + "; ";
    const Strings terminal{"-qec", size + TAVROLINE_CTL " events", "/dev/null"};
    ChildProcess program(columns == 0 ? TAVROLINE_CTL : "script",
                         columns == 0 ? Strings{"events"} : terminal);
    program.wait();
    EXPECT_NE(program.output().find(shown), std::string::npos) << program.output();
  }
}

}  // namespace
