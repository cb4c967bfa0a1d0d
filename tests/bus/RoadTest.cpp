// The whole road: functions found by their registered names, a real bus, the real service in another process.
#include <gtest/gtest.h>

#include <fstream>
#include <iostream>

#include "Runtime.h"
#include "RuntimeFunctions.h"

namespace {

constexpr RTS_IEC_INT kAlarm = 0, kAudit = 1, kFault = 2, kEvent = 3;
constexpr RTS_IEC_INT kNeutral = 0, kOn = 1, kOff = 2;

std::u16string text(const RTS_IEC_WSTRING* wide) {
  return reinterpret_cast<const char16_t*>(wide);
}

/** Keeps the runtime log aside, since a failed query writes a record per call; shows it when a test fails. */
class LogAside {
 public:
  explicit LogAside(const PrivateBus& bus) : m_path(bus.folder() + "/runtime.log") {
    RuntimeFunctions::logToFile(m_path);
  }
  ~LogAside() {
    if (testing::Test::HasFailure()) std::cerr << std::ifstream(m_path).rdbuf();
  }

 private:
  std::string m_path;
};

/** Bus, service and runtime. */
class Road : public testing::Test {
 protected:
  PrivateBus bus;
  LogAside log{bus};
  std::optional<Service> service{std::in_place, bus};
  Runtime runtime;

  void logNumbered(int from, int to) const {
    for (int i = from; i <= to; ++i) {
      Message message;
      message.object = "Valve " + std::to_string(i);
      runtime.logEvent(kEvent, kNeutral, message);
    }
  }
  std::vector<std::u16string> descriptions(TavrolineHandle handle) const {
    std::vector<std::u16string> result;
    for (const auto& entry : runtime.entries(handle))
      result.push_back(text(entry.wsDescription));
    return result;
  }
  std::vector<bool> summary(TavrolineHandle handle) const {
    std::vector<bool> flags;
    for (const char* name :
         {"isalarminalarmlist", "isactivealarminalarmlist", "isfaultinalarmlist", "isactivefaultinalarmlist"})
      flags.push_back(runtime.flag(name, handle));
    return flags;
  }
  bool detector(TavrolineHandle handle) const { return runtime.flag("getcentraldetectorstate", handle); }
  /** One query of an alarm's state to its end. */
  RTS_IEC_INT alarmState(TavrolineHandle handle, RTS_IEC_BOOL& active) const {
    getalarmstatefromalarmhandler_struct query{handle, &active, nullptr, TAVROLINE_BUSY};
    eventually([&] {
      return runtime.call("getalarmstatefromalarmhandler", query), query.iResult != TAVROLINE_BUSY;
    });
    return query.iResult;
  }
};

}  // namespace

TEST_F(Road, AnEventComesBackFieldByFieldAndTheHookTellsOfIt) {
  const TavrolineHandle reader = runtime.openEvents();
  Message message;
  message.icon = "valve";
  message.user = u"J\u00f6rg \U0001F4A7";
  message.time = 4000000000u;  // in 2096
  runtime.logEvent(kEvent, kOn, message);

  ASSERT_TRUE(eventually([&] { return runtime.flag("haslistchanged", reader); }));
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  const auto list = runtime.entries(reader);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].uliEventlistId, 1u);
  EXPECT_EQ(list[0].iEventType, kEvent);
  EXPECT_STREQ(list[0].sIconType, "valve");
  EXPECT_EQ(list[0].dtTimestamp, 4000000000u);
  EXPECT_STREQ(list[0].sModuleName, "Basin");
  EXPECT_EQ(text(list[0].wsDescription), u"Valve");
  EXPECT_EQ(text(list[0].wsUser), message.user);
}

TEST_F(Road, TypesAndKeywordsFilterWhatIsCopied) {
  const TavrolineHandle reader = runtime.openEvents();
  Message south;
  south.keywords[1][0] = 's';
  runtime.logEvent(kEvent, kNeutral, {});
  runtime.logEvent(kEvent, kNeutral, south);
  runtime.logEvent(kAudit, kNeutral, {});
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  ASSERT_EQ(runtime.entries(reader).size(), 3u);

  addfiltereventtype_struct audit{reader, kAudit};
  runtime.call("addfiltereventtype", audit);
  ASSERT_EQ(runtime.entries(reader).size(), 1u);
  EXPECT_STREQ(runtime.entries(reader)[0].sIconType, "audit-trail") << "the default icon";
  resetfilterall_struct reset{reader};
  runtime.call("resetfilterall", reset);

  addfilterkeyword_struct include{reader, 0, "water"};
  addfilterkeyword_struct exclude{reader, 1, "north"};
  runtime.call("addfilterkeyword", include);
  EXPECT_EQ(runtime.entries(reader).size(), 3u);
  runtime.call("addfilterkeyword", exclude);
  ASSERT_EQ(runtime.entries(reader).size(), 1u);
  EXPECT_EQ(runtime.entries(reader)[0].uliEventlistId, 2u);
}

TEST_F(Road, TheLanguageArrivesAtTheService) {
  const TavrolineHandle reader = runtime.openEvents();
  Message message;
  message.textSource = 1;
  message.object = "PumpStarted";
  runtime.logEvent(kEvent, kNeutral, message);
  for (const auto& [language, expected] : {std::pair("de", u"Pumpe gestartet"), {"en", u"Pump started"}}) {
    setlistreadlanguage_struct choice{reader, language};
    runtime.call("setlistreadlanguage", choice);
    ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
    EXPECT_EQ(descriptions(reader), std::vector<std::u16string>{expected});
  }
}

TEST_F(Road, APartIsTheNewestEntriesAndDeletingLeavesNone) {
  const TavrolineHandle reader = runtime.openEvents();
  logNumbered(1, 5);
  ASSERT_EQ(runtime.load(reader, 2), TAVROLINE_DONE);
  EXPECT_EQ(descriptions(reader), (std::vector<std::u16string>{u"Valve 5", u"Valve 4"}));
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  EXPECT_EQ(descriptions(reader).size(), 5u);

  deleteeventlist_struct nothing{};
  runtime.call("deleteeventlist", nothing);
  logNumbered(6, 6);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  EXPECT_EQ(descriptions(reader), (std::vector<std::u16string>{u"Valve 6"})) << "deletion keeps its place";
}

TEST_F(Road, AServiceKilledInALoadEndsItWithAnErrorAndTheSameHandleLoadsAgain) {
  const TavrolineHandle reader = runtime.openEvents();
  logNumbered(1, 1);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);

  service->process().pause();
  loadcompleteeventlist_struct step{reader, TAVROLINE_ERROR};
  runtime.call("loadcompleteeventlist", step);
  ASSERT_EQ(step.iResult, TAVROLINE_BUSY);
  service->process().kill();
  EXPECT_EQ(runtime.load(reader), TAVROLINE_ERROR);
  EXPECT_EQ(descriptions(reader), (std::vector<std::u16string>{u"Valve 1"})) << "the old list stays";

  logNumbered(2, 3);
  service.emplace(bus);  // with an empty memory
  ASSERT_TRUE(runtime.loadsEventually(reader, 2));
  EXPECT_EQ(descriptions(reader), (std::vector<std::u16string>{u"Valve 3", u"Valve 2"}));
}

TEST_F(Road, TextsThatABusRefusesDoNotSpoilTheList) {
  const TavrolineHandle reader = runtime.openEvents();
  Message message;
  message.user = std::u16string{0xFFFE, 0xFDD0, 0xD800, u'x'};
  runtime.logEvent(kEvent, kNeutral, message);
  logNumbered(1, 1);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  ASSERT_EQ(runtime.entries(reader).size(), 2u);
  EXPECT_EQ(text(runtime.entries(reader)[1].wsUser), u"\uFFFD\uFFFD\uFFFDx");
}

TEST_F(Road, TwoHandlesSeeTheSameFlagsButOnlyAnOpenOneTheDetector) {
  const TavrolineHandle alarm = runtime.openAlarm();
  const TavrolineHandle fault = runtime.openAlarm();
  const TavrolineHandle early = runtime.openAlarms();
  const TavrolineHandle other = runtime.openAlarms();
  runtime.logAlarm(alarm, kAlarm, kOn);
  runtime.logAlarm(fault, kFault, kOn);
  runtime.logAlarm(fault, kFault, kOff);
  const std::vector<bool> expected{true, true, true, false};
  ASSERT_TRUE(eventually([&] { return summary(early) == expected && detector(early) && detector(other); }));
  const TavrolineHandle late = runtime.openAlarms();
  EXPECT_EQ(summary(other), expected);
  EXPECT_EQ(summary(late), expected);
  EXPECT_FALSE(detector(late));

  acknowledgecentraldetector_struct acknowledgement{nullptr};
  runtime.call("acknowledgecentraldetector", acknowledgement);
  EXPECT_TRUE(eventually([&] { return !detector(early) && !detector(other); }));
}

TEST_F(Road, AnAlarmRaisedWithoutServiceArrivesAfterItsReturnAndTheQueryRecovers) {
  const TavrolineHandle alarm = runtime.openAlarm();
  const TavrolineHandle reader = runtime.openAlarms();
  RTS_IEC_BOOL active = 0;
  ASSERT_EQ(alarmState(alarm, active), TAVROLINE_DONE);
  service->process().kill();
  ASSERT_TRUE(bus.waitForNameGone(ListServiceNames::kService));
  runtime.logAlarm(alarm, kAlarm, kOn);
  EXPECT_EQ(alarmState(alarm, active), TAVROLINE_ERROR);

  service.emplace(bus);
  ASSERT_TRUE(eventually([&] { return runtime.flag("isactivealarminalarmlist", reader); }));
  ASSERT_TRUE(eventually([&] { return alarmState(alarm, active) == TAVROLINE_DONE; }));
  EXPECT_TRUE(active);
}

TEST_F(Road, TheDemonstrationFindsInBothListsWhatTheyMustHold) {
  ChildProcess host(TAVROLINE_HOST, {TAVROLINE_LIBRARY, TAVROLINE_DEMO});
  EXPECT_EQ(host.wait(), 0) << host.output();
}

TEST_F(Road, TheDemonstrationFailsWithoutAService) {
  service.reset();
  ChildProcess host(TAVROLINE_HOST, {TAVROLINE_LIBRARY, TAVROLINE_DEMO});
  EXPECT_EQ(host.wait(), 1) << host.output();
}
