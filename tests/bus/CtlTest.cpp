// What a person sees of the lists through tavroline-ctl.
#include <sstream>

#include "Runtime.h"
#include "RuntimeFunctions.h"

namespace {

std::string ctl(const Strings& arguments, int status = 0) {
  ChildProcess program(TAVROLINE_CTL, arguments);
  EXPECT_EQ(program.wait(), status) << program.output();
  return program.output();
}

/** One word of each line of a table without its header, the first being 0. */
std::string column(const Strings& arguments, int number) {
  std::istringstream lines(ctl(arguments));
  std::string line, words, word;
  for (std::getline(lines, line); std::getline(lines, line); words += word + ' ') {
    std::istringstream cells(line);
    for (int i = 0; i <= number; ++i) {
      cells >> word;
    }
  }
  return words;
}

class Ctl : public BusTest {
 protected:
  Ctl() { startService(); }
  const bool aside = (RuntimeFunctions::logToFile(log), true);
  Runtime runtime;
};

TEST_F(Ctl, ShowsTheEntriesThatPassTheFiltersAndAcknowledgesByTheBeginningOfAnIdentifier) {
  logevent_struct old{};
  old.dtDateTime = 946728000;  // noon of 2000-01-01
  old.stKeywordsDimInfo = {0, -1};
  runtime.logEvent("Valve", 0, old);
  runtime.logEvent("Valve");
  const TavrolineHandle fault = runtime.open(Runtime::kAlarmHandler);
  runtime.logAlarm(runtime.open(Runtime::kAlarmHandler), kAlarm, kOn);
  runtime.logAlarm(fault, kFault, kOn);
  runtime.logAlarm(fault, kFault, kOff);
  ASSERT_TRUE(eventually([] { return column({"events"}, 0) == "5 4 3 2 1 "; }));
  const std::tuple<Strings, int, std::string> rows[] = {
      {{"events", "--type", "alarm,fault"}, 0, "5 4 3 "},
      {{"events", "--type", "event", "--count", "1"}, 0, "2 "},
      {{"events", "--since", "1h"}, 0, "5 4 3 2 "},
      {{"events", "--since", "1999-12-31T10:00", "--until", "2000-01-01"}, 0, "1 "},
      {{"events", "--keyword", "fire", "--keyword", "water"}, 0, "5 4 3 2 "},
      {{"events", "--without", "water"}, 0, "1 "},
      {{"alarms", "--active"}, 3, "alarm "},
      {{"alarms", "--inactive", "--unacknowledged"}, 3, "fault "}};
  for (const auto& [arguments, number, shown] : rows) {
    EXPECT_EQ(column(arguments, number), shown) << testing::PrintToString(arguments);
  }
  ctl({"ack", column({"alarms", "--active"}, 5).substr(0, 9), "--user", "Kim"});
  EXPECT_EQ(column({"alarms", "--acknowledged"}, 4), "alarm ");
}

TEST_F(Ctl, SaysWhatIsWrongAndWhatToDo) {
  const auto expect = [](const Strings& arguments, int status, const char* said) {
    EXPECT_NE(ctl(arguments, status).find(said), std::string::npos) << said;
  };
  expect({"doctor"}, 0, "policy     OK");
  expect({"events", "--type", "even"}, 2, "--type: even not in");
  expect({"evnets"}, 2, "not expected: evnets");
  expect({"events", "--since", "soon"}, 2, "'soon' is no time");
  expect({"events", "--since", "1h", "--until", "2h"}, 2, "no entry can pass");
  expect({"ack", "{none}", "--user", "Kim"}, 1, "no alarm with the identifier");
  service.reset();
  expect({"events"}, 4, "start tavroline-listd");
  expect({"doctor"}, 1, "service    BAD");
  bus.stop();
  expect({"events"}, 3, "no connection to the bus");
}

TEST_F(Ctl, FitsTheTerminalAndColoursItAloneAndShowsTheBooks) {
  runtime.logAlarm(runtime.open(Runtime::kAlarmHandler), kAlarm, kOn);
  EXPECT_TRUE(eventually([] {
    return ctl({"stats", "--json"}).find("\"delivered\": 1,") != std::string::npos;
  }));
  EXPECT_EQ(ctl({"alarms"}).find('\033'), std::string::npos);
  ChildProcess terminal("script", {"-qc", "stty cols 60; " TAVROLINE_CTL " alarms", "/dev/null"});
  ASSERT_EQ(terminal.wait(), 0);
  const std::string red = terminal.output().substr(terminal.output().find("\033[31m") + 5);
  EXPECT_EQ(red.find("\033[0m"), 60U + 2) << red << "one character for the cut, of three bytes";
}

TEST_F(Ctl, FollowsTheListThroughARestartOfAServiceThatForgets) {
  runtime.logEvent("Valve 1");
  ChildProcess follower(TAVROLINE_CTL, {"events", "--follow"});
  const auto shows = [&](const char* name) { return follower.output().find(name) != std::string::npos; };
  ASSERT_TRUE(eventually([&] { return shows("Valve 1"); }));
  follower.pause();
  startService();
  for (const char* name : {"Valve 2", "Valve 3"}) {
    runtime.logEvent(name);
  }
  ASSERT_TRUE(eventually([] { return column({"events"}, 0) == "2 1 "; }));
  follower.resume();
  ASSERT_TRUE(eventually([&] { return shows("Valve 3"); }));
  EXPECT_TRUE(shows("Valve 2")) << follower.output();
}

}  // namespace
