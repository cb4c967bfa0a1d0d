// Functions found by their registered names, a real bus, the real service in another process.
#include "Runtime.h"
#include "RuntimeFunctions.h"

namespace {

std::u16string text(const RTS_IEC_WSTRING* wide) {
  return reinterpret_cast<const char16_t*>(wide);
}

class EndToEndTest : public BusTest {
 protected:
  EndToEndTest() {
    startService();
    RuntimeFunctions::logToFile(log);
  }

  Runtime runtime;
};

TEST_F(EndToEndTest, ReadersLoadWhatWasLoggedAndNotDeletedWithTheCharactersReplacedThatABusRefuses) {
  const TavrolineHandle reader = runtime.open(Runtime::kEventReader);
  runtime.logEvent("Deleted");
  deleteeventlist_struct nothing{};
  runtime.call("deleteeventlist", nothing);
  runtime.logEvent("Older");
  const std::u16string user = u"J\u00f6rg \U0001F4A7" + std::u16string{0xFFFE, 0xFDD0, 0xD800, u'x'};
  logevent_struct event{};
  event.psIconType = "valve";
  event.pwsUser = reinterpret_cast<const RTS_IEC_WSTRING*>(user.c_str());
  event.dtDateTime = 4000000000U;  // in 2096
  runtime.logEvent("PumpStarted", 1, event);
  EXPECT_TRUE(eventually([&] { return runtime.flag("haslistchanged", reader); }));

  setlistreadlanguage_struct german{reader, "de"};
  runtime.call("setlistreadlanguage", german);
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  EXPECT_EQ(runtime.entries(reader).size(), 2U) << "deletion keeps its place";
  ASSERT_EQ(runtime.load(reader, 1), TAVROLINE_DONE);
  const auto list = runtime.entries(reader);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].uliEventlistId, 3U);
  EXPECT_EQ(list[0].iEventType, TAVROLINE_EVENT);
  EXPECT_STREQ(list[0].sIconType, "valve");
  EXPECT_EQ(list[0].dtTimestamp, 4000000000U);
  EXPECT_STREQ(list[0].sModuleName, "Basin");
  EXPECT_EQ(text(list[0].wsDescription), u"Pumpe gestartet");
  EXPECT_EQ(text(list[0].wsUser), u"J\u00f6rg \U0001F4A7\uFFFD\uFFFD\uFFFDx");
}

TEST_F(EndToEndTest, AnAlarmRaisedWithoutServiceReachesEachEmptyOneAndTheDetectorIsAcknowledged) {
  const TavrolineHandle alarm = runtime.open(Runtime::kAlarmHandler);
  const TavrolineHandle reader = runtime.open(Runtime::kAlarmReader);
  RTS_IEC_BOOL active = 0;
  const auto query = [&] {
    return runtime.finish("getalarmstatefromalarmhandler",
                          getalarmstatefromalarmhandler_struct{alarm, &active, nullptr, TAVROLINE_BUSY});
  };
  ASSERT_EQ(query(), TAVROLINE_DONE);
  service->kill();
  ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService, false));
  runtime.logAlarm(alarm, TAVROLINE_ALARM, TAVROLINE_ON);

  for (int start = 0; start < 2; ++start) {  // each with an empty memory
    active = 0;
    startService();
    ASSERT_TRUE(eventually([&] { return query() == TAVROLINE_DONE && active; }));
    ASSERT_TRUE(eventually([&] { return runtime.flag("isactivealarminalarmlist", reader); }));
  }
  ASSERT_TRUE(eventually([&] { return runtime.flag("getcentraldetectorstate", reader); }));
  acknowledgecentraldetector_struct acknowledgement{nullptr};
  runtime.call("acknowledgecentraldetector", acknowledgement);
  EXPECT_TRUE(eventually([&] { return !runtime.flag("getcentraldetectorstate", reader); }));
}

TEST_F(EndToEndTest, EightTasksUseAllFunctionsAtOnceInTheHost) {
  setenv("TZ", "Europe/Berlin", 1);  // without it each call reads it under a lock that no sanitizer sees
  setenv("TAVROLINE_EXERCISE", "1 5 3", 1);
  ChildProcess host(TAVROLINE_HOST, {"--log", file("host.log"), TAVROLINE_LIBRARY, TAVROLINE_EXERCISER});
  unsetenv("TAVROLINE_EXERCISE");
  EXPECT_EQ(host.wait(3 * kPatience), 0) << host.output();
  EXPECT_EQ(host.output().find("problem"), std::string::npos) << host.output();
  EXPECT_GT(expectBalance(contentOf(file("host.log"))), 100U);
}

}  // namespace
