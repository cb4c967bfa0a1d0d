// The whole road: functions found by their registered names, a real bus, the real service in another process.
#include "Runtime.h"
#include "RuntimeFunctions.h"

namespace {

using Texts = std::vector<std::u16string>;

std::u16string text(const RTS_IEC_WSTRING* wide) {
  return reinterpret_cast<const char16_t*>(wide);
}

/** Bus, service and runtime. */
class Road : public BusTest {
 protected:
  Road() { startService(); }
  void logNumbered(int from, int to) const {
    for (int i = from; i <= to; ++i) {
      runtime.logEvent("Valve " + std::to_string(i));
    }
  }
  Texts descriptions(TavrolineHandle handle) const {
    Texts result;
    for (const auto& entry : runtime.entries(handle)) {
      result.push_back(text(entry.wsDescription));
    }
    return result;
  }
  std::vector<bool> summary(TavrolineHandle handle) const {
    std::vector<bool> flags;
    for (const char* name : {"isalarminalarmlist", "isactivealarminalarmlist", "isfaultinalarmlist",
                             "isactivefaultinalarmlist"}) {
      flags.push_back(runtime.flag(name, handle));
    }
    return flags;
  }
  bool detector(TavrolineHandle handle) const { return runtime.flag("getcentraldetectorstate", handle); }

  const bool aside = (RuntimeFunctions::logToFile(log), true);  // a failed query writes a record per call
  Runtime runtime;
};

}  // namespace

TEST_F(Road, AnEventIsToldToEachReaderAndComesBackWithTextsThatABusRefusesReplaced) {
  const TavrolineHandle reader = runtime.open(Runtime::kEventReader);
  const TavrolineHandle other = runtime.open(Runtime::kEventReader);
  const std::u16string user = u"J\u00f6rg \U0001F4A7" + std::u16string{0xFFFE, 0xFDD0, 0xD800, u'x'};
  logevent_struct event{};
  event.psIconType = "valve";
  event.pwsUser = reinterpret_cast<const RTS_IEC_WSTRING*>(user.c_str());
  event.dtDateTime = 4000000000U;  // in 2096
  runtime.logEvent("PumpStarted", 1, event);
  for (const TavrolineHandle told : {reader, other}) {
    ASSERT_TRUE(eventually([&] { return runtime.flag("haslistchanged", told); }));
  }

  setlistreadlanguage_struct german{reader, "de"};
  runtime.call("setlistreadlanguage", german);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  const auto list = runtime.entries(reader);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].uliEventlistId, 1U);
  EXPECT_EQ(list[0].iEventType, kEvent);
  EXPECT_STREQ(list[0].sIconType, "valve");
  EXPECT_EQ(list[0].dtTimestamp, 4000000000U);
  EXPECT_STREQ(list[0].sModuleName, "Basin");
  EXPECT_EQ(text(list[0].wsDescription), u"Pumpe gestartet");
  EXPECT_EQ(text(list[0].wsUser), u"J\u00f6rg \U0001F4A7\uFFFD\uFFFD\uFFFDx");
}

TEST_F(Road, ALoadShowsAllThatWasLoggedBeforeItOrItsNewestPartAndNothingDeleted) {
  const TavrolineHandle reader = runtime.open(Runtime::kEventReader);
  logNumbered(1, 500);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  Texts expected;
  for (int i = 500; i > 0; --i) {
    const std::string number = std::to_string(i);
    expected.push_back(u"Valve " + std::u16string(number.begin(), number.end()));
  }
  EXPECT_EQ(descriptions(reader), expected);
  ASSERT_EQ(runtime.load(reader, 2), TAVROLINE_DONE);
  EXPECT_EQ(descriptions(reader), (Texts{u"Valve 500", u"Valve 499"}));

  deleteeventlist_struct nothing{};
  runtime.call("deleteeventlist", nothing);
  logNumbered(501, 501);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  EXPECT_EQ(descriptions(reader), Texts{u"Valve 501"}) << "deletion keeps its place";
}

TEST_F(Road, AServiceKilledInALoadEndsItWithAnErrorAndTheSameHandleLoadsAgain) {
  const TavrolineHandle reader = runtime.open(Runtime::kEventReader);
  logNumbered(1, 1);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);

  service->pause();
  loadcompleteeventlist_struct step{reader, TAVROLINE_ERROR};
  runtime.call("loadcompleteeventlist", step);
  ASSERT_EQ(step.iResult, TAVROLINE_BUSY);
  service->kill();
  EXPECT_EQ(runtime.load(reader), TAVROLINE_ERROR);
  EXPECT_EQ(descriptions(reader), Texts{u"Valve 1"}) << "the old list stays";

  logNumbered(2, 3);
  startService();  // with an empty memory
  EXPECT_TRUE(eventually([&] {
    return runtime.load(reader) == TAVROLINE_DONE && descriptions(reader) == Texts{u"Valve 3", u"Valve 2"};
  }));
}

TEST_F(Road, TwoHandlesSeeTheSameFlagsButOnlyAnOpenOneTheDetector) {
  const TavrolineHandle alarm = runtime.open(Runtime::kAlarmHandler);
  const TavrolineHandle fault = runtime.open(Runtime::kAlarmHandler);
  const TavrolineHandle early = runtime.open(Runtime::kAlarmReader);
  const TavrolineHandle other = runtime.open(Runtime::kAlarmReader);
  runtime.logAlarm(alarm, kAlarm, kOn);
  runtime.logAlarm(fault, kFault, kOn);
  runtime.logAlarm(fault, kFault, kOff);
  const std::vector<bool> expected{true, true, true, false};
  ASSERT_TRUE(eventually([&] { return summary(early) == expected && detector(early) && detector(other); }));
  const TavrolineHandle late = runtime.open(Runtime::kAlarmReader);
  EXPECT_EQ(summary(other), expected);
  EXPECT_EQ(summary(late), expected);
  EXPECT_FALSE(detector(late));

  acknowledgecentraldetector_struct acknowledgement{nullptr};
  runtime.call("acknowledgecentraldetector", acknowledgement);
  EXPECT_TRUE(eventually([&] { return !detector(early) && !detector(other); }));
}

TEST_F(Road, AnAlarmRaisedWithoutServiceArrivesAfterItsReturnAndAgainInAnEmptyOne) {
  const TavrolineHandle alarm = runtime.open(Runtime::kAlarmHandler);
  const TavrolineHandle fault = runtime.open(Runtime::kAlarmHandler);
  const TavrolineHandle reader = runtime.open(Runtime::kAlarmReader);
  RTS_IEC_BOOL active = 0;
  const auto query = [&] {
    return runtime.finish("getalarmstatefromalarmhandler",
                          getalarmstatefromalarmhandler_struct{alarm, &active, nullptr, TAVROLINE_BUSY});
  };
  for (const RTS_IEC_INT state : {kOn, kOff}) {
    runtime.logAlarm(fault, kFault, state);
  }
  ASSERT_EQ(query(), TAVROLINE_DONE);
  service->kill();
  ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService, false));
  runtime.logAlarm(alarm, kAlarm, kOn);
  EXPECT_EQ(query(), TAVROLINE_ERROR);

  for (int life = 0; life < 2; ++life) {  // each with an empty memory
    startService();
    ASSERT_TRUE(eventually([&] { return query() == TAVROLINE_DONE && active; }));
    ASSERT_TRUE(eventually([&] { return summary(reader) == std::vector<bool>{true, true, false, false}; }));
    active = 0;
  }
}

TEST_F(Road, TheDemonstrationFindsInBothListsWhatTheyMustHoldAndFailsWithoutAService) {
  for (const int status : {0, 1}) {
    ChildProcess host(TAVROLINE_HOST, {TAVROLINE_LIBRARY, TAVROLINE_DEMO});
    EXPECT_EQ(host.wait(), status) << host.output();
    EXPECT_GT(expectBalance(host.output()), 0U);
    service.reset();
  }
}

TEST_F(BusTest, EightTasksUseEverythingAtOnceInTheHost) {
  startService();
  setenv("TZ", "Europe/Berlin",
         1);  // unset, it is read anew by each call, under a lock that no sanitizer sees
  setenv("TAVROLINE_EXERCISE", "1 5 3", 1);
  ChildProcess host(TAVROLINE_HOST, {"--log", log, TAVROLINE_LIBRARY, TAVROLINE_EXERCISER});
  unsetenv("TAVROLINE_EXERCISE");
  EXPECT_EQ(host.wait(3 * kPatience), 0) << host.output();
  EXPECT_EQ(host.output().find("problem"), std::string::npos) << host.output();
  EXPECT_GT(expectBalance(contentOf(log)), 100U);
}
