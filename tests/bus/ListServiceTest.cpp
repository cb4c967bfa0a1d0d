#include "ListServiceTest.h"

namespace {

TEST_F(ListServiceTest, OffersWhatItsDescriptionSaysAndNamesAPeerOfTheOlderVersion) {
  startService();
  auto peer = std::make_unique<Peer>();
  const std::regex ignored("<!--[^]*?-->|\\s+");
  const std::string described = std::regex_replace(contentOf(TAVROLINE_INTROSPECTION), ignored, "");
  for (const char* path : {kEventListPath, kAlarmListPath, kMessagesPath}) {
    const std::string xml = peer->call({"Introspect", path, "org.freedesktop.DBus.Introspectable"}, {}, "");
    const std::string offered = std::regex_replace(xml, ignored, "");
    const std::string own = offered.substr(offered.find("<interfacename=\"org.tavroline."));
    EXPECT_NE(described.find(own), std::string::npos) << own;
  }
  EXPECT_EQ(peer->call({"Log", kEventListPath, kEventListInterface}, {}, ""), "Version");
  EXPECT_NE(service->output().find(peer->name() + " calls Log"), std::string::npos) << service->output();
  EXPECT_EQ(ctl({"stats", "--json"})["otherVersion"].toInt(), 1);
  end(peer);
  EXPECT_EQ(ctl({"stats", "--json"})["otherVersion"].toInt(), 0);
}

TEST_F(ListServiceTest, AppliesEachNumberOnceAndKeepsRefusalsUntilTheyAreAcknowledged) {
  startAgain();
  Peer peer;
  EXPECT_EQ(peer.begin("s", 1, "a b"), "0, 2");
  EXPECT_EQ(peer.send("s", 2, 0, messages("x c")), "3") << "b repeated";
  EXPECT_EQ(peer.send("s", 5, 0, message("x")), "3") << "behind a gap";
  EXPECT_EQ(peer.send("s", 7, 6, message("d")), "7") << "a gap that the sender cannot fill";
  EXPECT_EQ(peer.send("s", 8, 7, messages("bad e bad")), "10 8:1 10:1");
  startAgain();
  EXPECT_EQ(peer.resume("s"), "10 8:1 10:1");
  EXPECT_EQ(peer.send("s", 9, 7, message("x")), "10 8:1 10:1") << "the answer about 8 may be lost";
  EXPECT_EQ(peer.send("s", 9, 8, message("x")), "10 10:1") << "8 is acknowledged by the floor";
  EXPECT_EQ(column("user"), "e d c b a");
}

TEST_F(ListServiceTest, LetsNobodyElseUseASession) {
  startAgain();
  auto owner = std::make_unique<Peer>();
  Peer other;
  EXPECT_EQ(owner->begin("s", 1, "+a"), "0, 1");
  const std::uint64_t last = INT64_MAX - 256;  // of a batch's first message
  EXPECT_EQ(other.call({"Send"}, message("x"), "stt", "s", last + 1, last), "Invalid");
  for (int i = 2; i <= 1001; ++i) {
    EXPECT_EQ(other.resume("s") + other.report("s") + other.raise("s", "+x"), "NotNowNotNowNotNow");
    const std::uint64_t number = i % 2 == 0 ? std::uint64_t(i) : last >> (i % 63);
    EXPECT_EQ(other.call({"Send"}, messages("x -a !a ! delete"), "stt", "s", number, number - 1), "NotNow");
    EXPECT_EQ(owner->send("s", i, i - 1, message("b")), std::to_string(i));
  }
  EXPECT_EQ(alarms("--active"), "a");
  EXPECT_EQ(column("user"), QString("b ").repeated(1000).toStdString() + "+a");
  end(owner);
  EXPECT_EQ(other.begin("s", 1002, "c"), "1001, 1002") << "the same user";
  sql("UPDATE sessions SET user = user + 1");
  EXPECT_EQ(other.resume("s"), "NotNow") << "another user's";
  sql("UPDATE sessions SET user = 4294967295");
  EXPECT_EQ(other.resume("s"), "1002") << "of an unknown user";
}

TEST_F(ListServiceTest, TakesTheStateOfASessionsAlarms) {
  startAgain();
  Peer one, two;
  EXPECT_EQ(one.begin("1", 1, "+w +x +y !y *z"), "0, 5");
  EXPECT_EQ(two.begin("2", 1, "+u +v"), "0, 2");
  EXPECT_EQ(one.report("1", "w", "u", "unknown"), "unknown");
  EXPECT_EQ(two.report("2", "v"), "") << "u is the other's now";
  EXPECT_EQ(alarms("--active"), "v u w");
  EXPECT_EQ(alarms("--inactive"), "z x") << "y was acknowledged";
  EXPECT_EQ(one.raise("1", "+v +n bad +x"), "");
  EXPECT_EQ(two.report("2", "x"), "") << "v was the first one's already";
  EXPECT_EQ(alarms("--active"), "x n v u w");
  const std::string off = "Off, no longer reported by its program: ";
  EXPECT_EQ(column("user"), "+x +n " + off + "z " + off + "y " + off + "x +v +u *z !y +y +x +w");
}

TEST_F(ListServiceTest, KeepsAnAlarmRaisedByHandFromEveryProgram) {
  startAgain();
  auto person = std::make_unique<Peer>();
  Peer program;
  EXPECT_EQ(person->begin("1", 1, "@a @b"), "0, 2");
  EXPECT_EQ(program.begin("2", 1, "+a +c"), "0, 2");
  EXPECT_EQ(program.report("2", "b"), "");
  EXPECT_EQ(program.raise("2", "+b"), "");
  EXPECT_EQ(program.report("2"), "") << "c goes off";
  end(person);
  person = std::make_unique<Peer>();
  EXPECT_EQ(person->begin("3", 1, "+d"), "0, 1");
  end(person);
  ASSERT_TRUE(eventually([&] { return alarms("--inactive") == "d c"; })) << "the grace time is over";
  EXPECT_EQ(alarms("--active"), "a b");
}

TEST_F(ListServiceTest, TurnsTheAlarmsOfAnEndedProgramOff) {
  startAgain();
  auto ends = std::make_unique<Peer>();
  auto returns = std::make_unique<Peer>();
  EXPECT_EQ(ends->begin("1", 1, "+a +b !b"), "0, 3");
  EXPECT_EQ(returns->begin("2", 1, "+c"), "0, 1");
  end(ends);
  end(returns);
  Peer returned;
  EXPECT_EQ(returned.resume("2"), "1");
  run("dbus-send", {"--system", std::string("--dest=") + kService, "/org/freedesktop/DBus",
                    "org.freedesktop.DBus.NameOwnerChanged", "string:" + returned.name(),
                    "string:" + returned.name(), "string:"});
  EXPECT_EQ(returned.report("2", "c"), "") << "only the bus says who has ended";
  ASSERT_TRUE(eventually([&] { return alarms("--active") == "c"; }));
  EXPECT_EQ(alarms("--inactive"), "a") << "b was acknowledged";
  EXPECT_EQ(column("user").find("Off, its program has ended: b Off, its program has ended: a +c"), 0U);
  sql("INSERT INTO alarms SELECT 'old', 1, 0, 1, 0, '', '', 0, '{}', '[]', ''");
  EXPECT_EQ(alarms("--active"), "c old");
  ASSERT_TRUE(eventually([&] { return alarms("--active") == "old"; })) << "nobody's alarm stays";
}

TEST_F(ListServiceTest, RefusesWhatIsInvalidAndStoresTheRest) {
  const List four{List{List{List{}}}};
  const char* const refused = "1 1:1";
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"an identifier of 255 characters", entry("", {}, std::string(255, 'a')), "1"},
      {"one of 256", entry("", {}, std::string(256, 'a')), refused},
      {"a time before 1970", message("bad"), refused},
      {"a time beyond all calendars", entry("", {}, "", 0, 0, INT64_MAX), refused},
      {"lists four deep", entry("", {{"1", four}}), "1"},
      {"lists five deep", entry("", {{"1", List{four}}}), refused},
      {"a number that is no integer", entry("", {{"1", 0.5}}), refused},
      {"an unknown kind", message("a").replace(4, 1, "\x09"), refused},
      {"a rest", message("a") + "123", "Invalid"},
      {"257 messages", messages(QString("a ").repeated(257).toStdString()), "Invalid"},
  };
  startService();
  Peer peer;
  for (const auto& [name, bytes, answer] : rows) {
    peer.resume(name);
    EXPECT_EQ(peer.send(name, 1, 0, bytes), answer) << name;
  }
  EXPECT_EQ(column("id"), "2 1");
}

TEST_F(ListServiceTest, ShowsDescriptionsInTheLanguageAsked) {
  const auto replaced = [](const char* from, const char* to) {
    return Map{{"Placeholder", from}, {"Argument", to}, {"TextSource", 1}, {"ObjectName", to}};
  };
  // The longest placeholder wins, an empty one is ignored, inserted text is not searched again.
  const List arguments{replaced("%a", "%ab"), replaced("%ab", "1"), replaced("", "x")};
  const std::tuple<const char*, Map, const char*> rows[] = {
      {"de", {{"ModuleName", "M"}, {"ObjectName", "DryRun"}, {"InstanceName", "#3"}}, "M: DryRun #3"},
      {"xx", {{"TextSource", 1}, {"ObjectName", "LevelHigh"}}, "Level high"},
      {"", {{"ObjectName", "%a %ab"}, {"Arguments", arguments}}, "%ab 1"},
      {"de", {{"Url", "x/%u"}, {"UrlArguments", List{replaced("%u", "DryRun")}}}, "<x/Trockenlauf>"},
  };
  startService();
  Peer peer;
  for (const auto& [language, description, text] : rows) {
    peer.resume(text);
    peer.send(text, 1, 0, entry("", description));
    EXPECT_EQ(column("user", {"events", "--count", "1", "--language", language}), text);
  }
}

TEST_F(ListServiceTest, CarriesAnAlarmThroughItsLife) {
  // Steps; entries of the event list, then what is TRUE of the alarm and of the alarm list.
  const std::pair<const char*, const char*> rows[] = {
      {"*x !", "2 entries, on, fault, activeFault"},
      {"+x -x !x", "3 entries, detector"},
      {"+x !x -x", "3 entries, detector"},
      {"*x /x", "2 entries, fault, detector"},
      {"+x ! -x +x", "4 entries, on, alarm, activeAlarm, detector"},
      {"+x !x !x ! +x", "4 entries, on, acknowledged, alarm, activeAlarm"},
      {"+x delete", "0 entries, on, alarm, activeAlarm, detector"},
  };
  for (const auto& [steps, expected] : rows) {
    startService();
    Peer().begin("s", 1, steps);
    const QJsonObject statistics = ctl({"stats", "--json"});
    std::string found = std::to_string(statistics["entries"].toInt()) + " entries";
    found += column("active", {"alarms"}) == "true" ? ", on" : "";
    found += column("acknowledged", {"alarms"}) == "true" ? ", acknowledged" : "";
    for (const char* flag : {"alarm", "activeAlarm", "fault", "activeFault", "detector"}) {
      found += statistics[flag].toBool() ? std::string(", ") + flag : "";
    }
    EXPECT_EQ(found, expected) << steps;
  }
}

TEST_F(ListServiceTest, SignalsAChangeBeforeAListThatShowsIt) {
  startService();
  Peer peer;
  peer.resume("s");
  peer.follow();
  for (int number = 1; number <= 20; ++number) {
    peer.send("s", number, number - 1, message("a"));
    peer.call({"GetList", kEventListPath, kEventListInterface}, {}, "su", "", 0U);
    EXPECT_GE(peer.takeSignals(), 1U) << "no signal before the list that shows change " << number;
  }
}

}  // namespace
