#include <systemd/sd-bus.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <ctime>
#include <filesystem>
#include <sstream>

#include "BusTest.h"
#include "MessageWriter.h"

using namespace Tavroline::ListServiceNames;
using Map = QVariantMap;
using List = QVariantList;

namespace {

constexpr int kNeutral = 0, kOn = 1, kOff = 2;
constexpr int kAlarm = 0, kFault = 2, kEvent = 3;

std::string entry(const std::string& user, const Map& description = {}, const std::string& alarm = "",
                  int state = kNeutral, int type = kEvent, std::int64_t time = 0) {
  Tavroline::MessageWriter message;
  message.entry(alarm.c_str(), state, type, time, "", "", user.c_str(), "", {"key"}, description);
  return std::string(message.bytes());
}

/** A message in a word: "+x" and "-x" turn alarm x on and off, "*x" and "/x" fault x, "!x" acknowledges, "!"
 * the detector; "delete" deletes the event list, "bad" is invalid, any other is an event with this user. */
std::string message(const std::string& word) {
  Tavroline::MessageWriter message;
  const auto edge = std::string("+-*/").find(word[0]);
  if (edge != std::string::npos) {
    return entry(word, {}, word.substr(1), edge % 2 == 0 ? kOn : kOff, edge < 2 ? kAlarm : kFault);
  }
  if (word == "delete") {
    message.deleteEvents();
  } else if (word == "!") {
    message.acknowledgeDetector("!");
  } else if (word[0] == '!') {
    message.acknowledgeAlarms(word.c_str(), {word.substr(1).c_str()});
  } else {
    return entry(word, {}, "", kNeutral, kEvent, word == "bad" ? -1 : 0);
  }
  return std::string(message.bytes());
}

std::string messages(const std::string& words) {
  std::istringstream stream(words);
  std::string bytes;
  for (std::string word; stream >> word;) {
    bytes += message(word);
  }
  return bytes;
}

std::string run(const char* program, const Strings& arguments) {
  ChildProcess child(program, arguments);
  EXPECT_EQ(child.wait(), 0) << child.output();
  return child.output();
}

QJsonObject object(const std::string& json) {
  return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
}

/** One member of each entry of a list; of an entry without it the description. */
std::string cells(const QJsonObject& list, const char* name) {
  QStringList cells;
  for (const QJsonValue value : list.begin()->toArray()) {
    const QString text = value[name].toVariant().toString();
    cells += text.isEmpty() ? value["description"].toString() : text;
  }
  return cells.join(' ').toStdString();
}

/** A connection that calls the service. A call returns its answer in words or the last part of its error. */
class Peer {
 public:
  struct Method {
    const char* name;
    const char* path = kMessagesPath;
    const char* interface = kMessagesInterface;
  };

  Peer() { sd_bus_open_system(&m_bus); }
  ~Peer() { sd_bus_flush_close_unref(m_bus); }
  Peer(const Peer&) = delete;

  std::string name() const {
    const char* name = nullptr;
    sd_bus_get_unique_name(m_bus, &name);
    return name;
  }
  std::string resume(const char* session) { return call({"Resume"}, {}, "ss", session, "tester"); }
  std::string send(const char* session, int first, int floor, const std::string& bytes) {
    return call({"Send"}, bytes, "stt", session, std::uint64_t(first), std::uint64_t(floor));
  }
  /** Resumes a session and sends messages. @return both answers */
  std::string begin(const char* session, int first, const std::string& words) {
    const std::string answer = resume(session);
    return answer + ", " + send(session, first, first - 1, messages(words));
  }
  template <typename... Alarms>
  std::string report(const char* session, Alarms... on) {
    return call({"ReportAlarms"}, {}, "sas", session, int{sizeof...(on)}, on...);
  }
  std::string raise(const char* session, const std::string& words) {
    return call({"RaiseAlarms"}, messages(words), "s", session);
  }
  /** @param bytes the last argument, if not empty */
  template <typename... Values>
  std::string call(const Method& method, const std::string& bytes, const char* types, Values... values) {
    sd_bus_message *request = nullptr, *reply = nullptr;
    sd_bus_message_new_method_call(m_bus, &request, kService, method.path, method.interface, method.name);
    sd_bus_message_append(request, types, values...);
    if (!bytes.empty()) {
      sd_bus_message_append_array(request, 'y', bytes.data(), bytes.size());
    }
    sd_bus_error error = SD_BUS_ERROR_NULL;
    const bool well = sd_bus_call(m_bus, request, 0, &error, &reply) >= 0;
    const std::string fault = error.name != nullptr ? error.name : "";
    std::string answer = well ? wordsOf(reply) : fault.substr(fault.rfind('.') + 1);
    sd_bus_error_free(&error);
    sd_bus_message_unref(request);
    sd_bus_message_unref(reply);
    return answer;
  }

 private:
  static std::string wordsOf(sd_bus_message* reply) {
    std::ostringstream words;
    std::uint64_t number = 0;
    std::uint32_t reason = 0;
    const char* text = nullptr;
    if (sd_bus_message_read(reply, "t", &number) > 0) {
      words << number;
    }
    sd_bus_message_enter_container(reply, 'a', "(tu)");
    while (sd_bus_message_read(reply, "(tu)", &number, &reason) > 0) {
      words << ' ' << number << ':' << reason;
    }
    sd_bus_message_enter_container(reply, 'a', "s");
    while (sd_bus_message_read(reply, "s", &text) > 0) {
      words << text;
    }
    return words.str();
  }

  sd_bus* m_bus = nullptr;
};

class ListServiceTest : public BusTest {
 protected:
  static QJsonObject ctl(const Strings& arguments) { return object(run(TAVROLINE_CTL, arguments)); }
  /** The cells of a list, the newest entry first. */
  static std::string column(const char* name, Strings command = {"events"}) {
    command.emplace_back("--json");
    return cells(ctl(command), name);
  }
  static std::string alarms(const char* which) { return column("id", {"alarms", which}); }
  /** Runs SQL on the database file after the service has ended, and starts it again. */
  void sql(const std::string& statements) {
    service.reset();
    run("sqlite3", {database, statements});
    startAgain();
  }
  void startAgain() { startService({"--db", database, "--orphans", "1"}); }
  void end(std::unique_ptr<Peer>& peer) {
    const std::string name = peer->name();
    peer.reset();
    EXPECT_TRUE(bus.waitForName(name, false));
  }

  const std::string database = file("lists.db");
};

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
  EXPECT_EQ(peer.send("s", 9, 7, message("x")), "10 10:1") << "8 is acknowledged by the first number";
  EXPECT_EQ(column("user"), "e d c b a");
}

TEST_F(ListServiceTest, LetsNobodyElseUseASession) {
  startAgain();
  auto owner = std::make_unique<Peer>();
  Peer other;
  EXPECT_EQ(owner->begin("s", 1, "a"), "0, 1");
  EXPECT_EQ(other.begin("s", 2, "x"), "NotNow, NotNow");
  EXPECT_EQ(other.report("s") + other.raise("s", "+x"), "NotNowNotNow");
  end(owner);
  EXPECT_EQ(other.begin("s", 2, "b"), "1, 2") << "the same user";
  sql("UPDATE sessions SET user = user + 1");
  EXPECT_EQ(other.resume("s"), "NotNow") << "another user's";
  sql("UPDATE sessions SET user = 4294967295");
  EXPECT_EQ(other.resume("s"), "2") << "of an unknown user";
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

TEST_F(ListServiceTest, KeepsWhatADatabaseOfTheVersionBeforeHolds) {
  sql(R"(
    CREATE TABLE events (id INTEGER PRIMARY KEY AUTOINCREMENT, event_type, state, icon_type, module_name, time,
      description, keywords, user, alarm_id, object_name);
    CREATE TABLE alarms (alarm_id TEXT PRIMARY KEY, edge, event_type, active, acknowledged, icon_type, module_name,
      time, description, keywords);
    CREATE TABLE sessions (session TEXT PRIMARY KEY, sequence, used) WITHOUT ROWID;
    CREATE TABLE state (event_generation, alarm_generation, detector); INSERT INTO state VALUES (5, 6, 1);
    INSERT INTO events VALUES (7, 3, 0, '', '', 0, '{}', '[]', 'kept', '', ''), (8, 3, 0, '', '', 0, '', '', '', '', '');
    DELETE FROM events WHERE id = 8; INSERT INTO alarms VALUES ('x', 7, 0, 1, 0, '', '', 0, '{}', '[]');
    INSERT INTO sessions VALUES ('s', 40, 1); PRAGMA application_id=1415673458; PRAGMA user_version=1;)");
  Peer peer;
  EXPECT_EQ(peer.begin("s", 41, "new +y"), "40, 42");
  EXPECT_EQ(column("id"), "10 9 7");
  EXPECT_EQ(alarms("--active"), "y x");
  sql("UPDATE events SET user = CAST(x'41ff42' AS TEXT) WHERE id = 9; UPDATE events SET keywords = '[' WHERE "
      "id = 7");
  EXPECT_EQ(column("user"), "+y A\uFFFDB") << "one text is made fit, one entry left out";
  EXPECT_EQ(ctl({"stats", "--json"})["unreadable"].toInt(), 1);
}

TEST_F(ListServiceTest, RefusesADatabaseThatItCannotUseAndLeavesItAlone) {
  const auto write = [&](int offset, const std::string& bytes) {
    std::fstream(database).seekp(offset).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  };
  const auto expectRefusal = [&](const char* complaint) {
    const std::string before = contentOf(database);
    ChildProcess refused(TAVROLINE_LISTD, {"--db", database});
    EXPECT_EQ(refused.wait(), 1) << complaint;
    const std::regex line("database " + database + ".*" + complaint);
    EXPECT_TRUE(std::regex_search(refused.output(), line)) << refused.output();
    EXPECT_EQ(contentOf(database), before) << complaint;
  };
  const std::tuple<int, std::string, const char*> rows[] = {{0, "no database", "is damaged"},
                                                            {4096, std::string(4096, 'x'), "is damaged"},
                                                            {60, std::string("\0\0\0\3", 4), "newer version"},
                                                            {68, "what", "another program"}};
  startAgain();
  expectRefusal("is in use by another process");
  service->signal(SIGTERM);
  ASSERT_EQ(service->wait(), 0);
  const std::string good = contentOf(database);
  for (const auto& [offset, bytes, complaint] : rows) {
    write(offset, bytes);
    expectRefusal(complaint);
    write(0, good);
  }
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

TEST_F(ListServiceTest, DropsTheOldestBeyondItsCapacityAndCountsWhatAReplyOmits) {
  startService({"--db", database, "--capacity", "800"});
  Peer peer;
  peer.resume("s");
  const QString euros(4000, QChar(0x20AC));
  for (int i = 1; i <= 802; ++i) {
    peer.send("s", i, i - 1, entry(euros.toStdString(), {{"Url", euros}}));
  }
  const std::string json = peer.call({"GetList", kEventListPath, kEventListInterface}, {}, "su", "", 0U);
  EXPECT_LT(json.size(), 16U * 1024 * 1024);
  const QJsonObject list = object(json);
  const QJsonArray entries = list["ListData"].toArray();
  EXPECT_EQ(entries.first()["EventlistId"].toInt(), 802);
  EXPECT_GT(entries.size(), 600);
  EXPECT_EQ(entries.size() + list["Omitted"].toInt(), 800);
  startService({"--db", database, "--capacity", "2"});
  EXPECT_EQ(column("id"), "802 801") << "before anything is stored";
  EXPECT_LT(std::filesystem::file_size(database), 1U << 20U) << "20 MB before";
  EXPECT_EQ(peer.begin("s", 803, "delete a"), "802, 804");
  EXPECT_EQ(column("id"), "803") << "no number is used again";
  startService({"--db", database, "--keep-days", "1"});
  EXPECT_EQ(column("id"), "") << "all are of 1970";
  peer.resume("s");
  peer.send("s", 805, 804, entry("", {}, "", kNeutral, kEvent, std::time(nullptr) * 1000LL) + message("old"));
  EXPECT_EQ(column("id"), "805 804") << "an old one behind a new one stays";
}

}  // namespace
