// Functions found by their registered names, a real bus, the real service in another process.
#include "HostLog.h"
#include "Runtime.h"

namespace {

std::u16string text(const RTS_IEC_WSTRING* wide) {
  return reinterpret_cast<const char16_t*>(wide);
}

class EndToEndTest : public BusTest {
 protected:
  EndToEndTest() {
    startService();
    HostLog::toFile(log);
  }

  Runtime runtime;
};

const int kZone = setenv("TZ", "Europe/Berlin", 1);  // else calls read a file under a lock of the C library

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

TEST_F(EndToEndTest, AnAlarmIsActiveForItsHandlerAndForReadersAndTheDetectorIsAcknowledged) {
  const TavrolineHandle alarm = runtime.open(Runtime::kAlarmHandler);
  const TavrolineHandle reader = runtime.open(Runtime::kAlarmReader);
  runtime.logAlarm(alarm, TAVROLINE_ALARM, TAVROLINE_ON);
  RTS_IEC_BOOL active = 0;
  const getalarmstatefromalarmhandler_struct query{alarm, &active, nullptr, TAVROLINE_BUSY};
  EXPECT_EQ(runtime.finish("getalarmstatefromalarmhandler", query), TAVROLINE_DONE);
  EXPECT_TRUE(active);
  EXPECT_TRUE(eventually([&] { return runtime.flag("isactivealarminalarmlist", reader); }));
  ASSERT_TRUE(eventually([&] { return runtime.flag("getcentraldetectorstate", reader); }));
  acknowledgecentraldetector_struct acknowledgement{nullptr};
  runtime.call("acknowledgecentraldetector", acknowledgement);
  EXPECT_TRUE(eventually([&] { return !runtime.flag("getcentraldetectorstate", reader); }));
}

TEST_F(EndToEndTest, EightTasksUseAllFunctionsAtOnceInTheHost) {
  ChildProcess host("env", {"TAVROLINE_EXERCISE=1 5 3", TAVROLINE_HOST, "--log", file("host.log"),
                            TAVROLINE_LIBRARY, TAVROLINE_EXERCISER});
  EXPECT_EQ(host.wait(3 * kPatience), 0) << host.output();
  EXPECT_EQ(host.output().find("problem"), std::string::npos) << host.output();
  EXPECT_GT(expectBalance(contentOf(file("host.log"))), 100U);
}

TEST_F(EndToEndTest, TheHostNamesTaskFunctionAndFieldOfMisuseAndCountsRepeatedLines) {
  // The program leaves a handle open: not a leak.
  ChildProcess host(
      "env", {"ASAN_OPTIONS=detect_leaks=0", TAVROLINE_HOST, "--check", "--log", file("host.log"), "--trace",
              file("host.trace"), TAVROLINE_LIBRARY, TAVROLINE_MISUSE});
  EXPECT_EQ(host.wait(), 6) << host.output();
  std::string lines = contentOf(file("host.log"));
  for (const char* expected :
       {"openeventlistreadhandle_ext: check: the structure is null",
        "closealarmlistreadhandle_ext: check: hReadHandle is null",
        "setfiltertime_ext: check: dtLatest is before dtEarliest",
        "geteventlistentries_ext: check: pstRequest.diMaxEntries is 0",
        "geteventlistentries_ext: component 1b4e", "logevent_ext: check: iState is 7",
        "logevent_ext: check: pastArguments is null", "logevent_ext: check: iKeywordSize is 0",
        "logevent_ext: check: stKeywordsDimInfo is 5..0: inverted",
        "logevent_ext: check: stArgumentsDimInfo is -2147483647..2147483647: huge",
        "logevent_ext: check: pastUrlArguments[0].stData.iTextSource is 4",
        "logevent_ext: Text source unknown: 4", "logevent_ext: check: iEventType is 0",
        "openeventlistreadhandle_ext: check: hReadHandle was not closed",
        "logevent_ext: Can't set alarm or fault (TavrolineEventlistWrite:49) ... 312 times more"}) {
    const auto at = lines.find(std::string("Z warning Careless: ") + expected);
    ASSERT_NE(at, std::string::npos) << expected << "\nis missing or not in its place:\n" << lines;
    lines.erase(0, at + 1);
  }
  EXPECT_EQ(lines.find("check: hWriteHandle"), std::string::npos) << lines;
  EXPECT_TRUE(std::regex_search(contentOf(file("host.trace")),
                                std::regex("dtEarliest, .*\n.*Z Careless: setfiltertime_ext \\{")));
  ChildProcess faulty("env", {"ASAN_OPTIONS=detect_leaks=0", "TAVROLINE_FAULT=1", TAVROLINE_HOST, "--check",
                              "--log", "/dev/null", TAVROLINE_LIBRARY, TAVROLINE_MISUSE});
  EXPECT_EQ(faulty.wait(), 6);
  EXPECT_NE(faulty.output().find("tavroline-host: Careless: logevent_ext: stKeywordsDimInfo is 1..2000000000:"
                                 " huge, 2000000000 elements; the call left the program's memory"),
            std::string::npos)
      << faulty.output();
  for (const Strings& swapped :
       {Strings{TAVROLINE_MISUSE, TAVROLINE_LIBRARY}, {TAVROLINE_LIBRARY, TAVROLINE_LIBRARY}}) {
    ChildProcess wrong(TAVROLINE_HOST, swapped);
    EXPECT_EQ(wrong.wait(), 2);
    EXPECT_NE(wrong.output().find("is a component, not a PLC program"), std::string::npos) << wrong.output();
  }
}

}  // namespace
