#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <QFile>
#include <QXmlStreamReader>

#include <functional>
#include <map>

#include "ListServiceFixture.h"

using namespace ListServiceNames;

namespace {

/** The members of our interfaces, each with its arguments in order. */
std::map<std::string, std::string> surface(const QByteArray& xml) {
  std::map<std::string, std::string> members;
  std::string interface;
  std::string member;
  QXmlStreamReader reader(xml);
  while (!reader.atEnd()) {
    if (reader.readNext() != QXmlStreamReader::StartElement) continue;
    const auto attribute = [&reader](const char* name) {
      return reader.attributes().value(QLatin1String(name)).toString().toStdString() + ' ';
    };
    const std::string element = reader.name().toString().toStdString();
    if (element == "interface") interface = attribute("name");
    if (interface.find("org.tavroline.") != 0) continue;
    if (element == "method" || element == "signal") {
      member = interface + element + ' ' + attribute("name");
      members[member];
    }
    if (element == "arg") members[member] += attribute("name") + attribute("type") + attribute("direction");
  }
  EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
  return members;
}

TEST_F(ListServiceTest, OffersWhatItsDescriptionSays) {
  start();
  QFile description(QStringLiteral(TAVROLINE_INTROSPECTION));
  ASSERT_TRUE(description.open(QIODevice::ReadOnly));
  std::map<std::string, std::string> live;
  for (const char* path : {kEventListPath, kAlarmListPath}) {
    live.merge(surface(ask(path, "org.freedesktop.DBus.Introspectable", "Introspect", "")));
  }
  EXPECT_EQ(live.size(), 15U);
  EXPECT_EQ(live, surface(description.readAll()));
}

TEST_F(ListServiceTest, KeepsEveryAnsweredMessageWhenKilledAndStoresARepeatedOneOnce) {
  constexpr int kMessages = 120;  // as many as the bus lets wait for their answers
  const Strings arguments{"--db", file("lists.db")};
  start(arguments);
  std::pair<int, int> counts;  // answered, failed
  const auto onReply = [](sd_bus_message* reply, void* userdata, sd_bus_error*) {
    auto& [answered, failed] = *static_cast<std::pair<int, int>*>(userdata);
    return ++(sd_bus_message_is_method_error(reply, nullptr) != 0 ? failed : answered), 0;
  };
  const auto arrived = [&](int answers) {
    while (sd_bus_process(m_connection, nullptr) > 0 && counts.first < answers)
      continue;
    return counts.first >= answers || counts.first + counts.second == kMessages;
  };
  Strings all;
  for (uint64_t i = 1; i <= kMessages; ++i) {
    all.insert(all.begin(), std::to_string(i));
    sd_bus_message* message = newLog(m_connection, {i, all.front()}, 0);
    sd_bus_call_async(m_connection, nullptr, message, onReply, &counts, 0);
    sd_bus_message_unref(message);
  }
  ASSERT_TRUE(eventually([&] { return arrived(1); }));
  start(arguments);
  ASSERT_TRUE(eventually([&] { return arrived(kMessages); }));
  const auto stored = column("User").size();
  EXPECT_GE(stored, static_cast<std::size_t>(counts.first));
  // The whole of it once more, as a client does after a break.
  for (uint64_t i = 1; i <= kMessages; ++i)
    log({i, std::to_string(i)});
  EXPECT_EQ(column("User"), all);
  EXPECT_EQ(statistic("duplicates"), static_cast<double>(stored));
}

TEST_F(ListServiceTest, DropsTheOldestBeyondItsCapacityAndNeverReusesANumber) {
  start({"--capacity", "3"});
  for (uint64_t i = 1; i <= 5; ++i)
    log({i});
  EXPECT_EQ(column("EventlistId"), (Strings{"5", "4", "3"}));
  EXPECT_EQ(column("EventlistId", {"events", "--count", "2"}), (Strings{"5", "4"}));
  EXPECT_EQ(statistic("overwritten"), 2);
  ctl({"delete-events"});
  EXPECT_EQ(column("EventlistId"), Strings{});
  log({6});
  EXPECT_EQ(column("EventlistId"), Strings{"6"});
}

TEST_F(ListServiceTest, RefusesADatabaseThatItCannotUseAndLeavesItAlone) {
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);  // file modes count for root's children too
  const std::string path = file("lists.db");
  const auto write = [&](int offset, const QByteArray& bytes) {
    QFile database(QString::fromStdString(path));
    EXPECT_TRUE(database.open(QIODevice::ReadWrite) && database.seek(offset));
    EXPECT_EQ(database.write(bytes), bytes.size());
  };
  const auto content = [&] {
    QFile database(QString::fromStdString(path));
    EXPECT_TRUE(database.open(QIODevice::ReadOnly));
    return database.readAll();
  };
  const Strings usual{"--db", path};
  const struct {
    const char* name;
    std::function<void()> spoil;
    Strings arguments;
    const char* complaint;
  } rows[] = {
      {"damaged at its start", [&] { write(0, "no database"); }, usual, "damaged"},
      {"damaged inside", [&] { write(4096, QByteArray(4096, 'x')); }, usual, "damaged"},
      {"newer", [&] { write(60, QByteArray("\0\0\0\2", 4)); }, usual, "newer version"},
      {"another program's", [&] { write(68, "what"); }, usual, "another program"},
      {"read-only file", [&] { chmod(path.c_str(), 0444); }, usual, "cannot be written"},
      {"read-only folder", [&] { chmod(m_bus.folder().c_str(), 0555); }, usual, "cannot be written"},
      {"no folder", [] {}, {"--db", path + "/none/lists.db"}, "cannot be opened"},
      {"used by a second service", [&] { start(usual); }, usual, "in use by another process"},
      {"name taken", [&] { start(usual); }, {"--db", file("other.db")}, "another list service"},
  };
  start(usual);
  log({1, "kept"});
  m_service->signal(SIGTERM);
  ASSERT_EQ(m_service->wait(), 0);
  const QByteArray good = content();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    row.spoil();
    const QByteArray before = content();
    ChildProcess service(TAVROLINE_LISTD, row.arguments);
    EXPECT_EQ(service.wait(), 1);
    EXPECT_NE(service.output().find(row.complaint), std::string::npos) << service.output();
    EXPECT_EQ(content(), before);
    m_service->kill();
    chmod(m_bus.folder().c_str(), 0755);
    chmod(path.c_str(), 0644);
    write(0, good);
  }
  start(usual);
  EXPECT_EQ(column("User"), Strings{"kept"});
}

TEST_F(ListServiceTest, AnswersAndGoesOnWhenTheDiskIsFull) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{262144, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  start({"--db", file("lists.db")});
  setrlimit(RLIMIT_FSIZE, &limit);
  Entry entry{1, std::string(3000, 'x')};
  std::string error;
  while (entry.sequence < 1000 && (error = log(entry)).empty())
    ++entry.sequence;
  EXPECT_EQ(error, kErrorStorage);
  EXPECT_EQ(column("EventlistId").size(), entry.sequence - 1);
  prlimit(m_service->pid(), RLIMIT_FSIZE, &limit, nullptr);
  EXPECT_EQ(log(entry), "");
  EXPECT_EQ(column("EventlistId").size(), entry.sequence);
}

TEST_F(ListServiceTest, RefusesNonsenseAndGoesOn) {
  start();
  const Entry rows[] = {{0},  // sequences start at 1 and end at 2^63-1
                        {1ULL << 63U},
                        {1, "no session", 3, 0, "", ""},
                        {1, "endless identifier", 3, 0, std::string(300, 'a')},
                        {1, "before 1970", 3, 0, "", "test", -1},
                        {1, "beyond all calendars", 3, 0, "", "test", INT64_MAX}};
  for (const Entry& row : rows)
    EXPECT_EQ(log(row), kErrorInvalid) << row.user;
  EXPECT_EQ(log({}), "");
  EXPECT_EQ(statistic("entries"), 1);
}

TEST_F(ListServiceTest, ShowsDescriptionsInTheLanguageAsked) {
  start();
  uint64_t sequence = 0;
  const auto shown = [&](const char* language, auto... description) {
    log({++sequence}, description...);
    return column("Description", {"events", "--language", language}).front();
  };
  EXPECT_EQ(shown("", 3, "ModuleName", "s", "Mod", "ObjectName", "s", "Pump", "InstanceName", "s", "3"),
            "Mod: Pump 3");
  EXPECT_EQ(shown("de", 2, "TextSource", "i", 0, "ObjectName", "s", "LevelHigh"), "LevelHigh");
  EXPECT_EQ(shown("de", 2, "TextSource", "i", 1, "ObjectName", "s", "LevelHigh"), "Pegel hoch");
  EXPECT_EQ(shown("xx", 2, "TextSource", "i", 1, "ObjectName", "s", "LevelHigh"), "Level high");
  // The longest placeholder wins, an empty one never, and what was put in is not searched again.
  EXPECT_EQ(shown("", 2, "ObjectName", "s", "%a %ab", "Arguments", "av", 3, "a{sv}", 2, "Placeholder", "s",
                  "%a", "Argument", "s", "%ab", "a{sv}", 2, "Placeholder", "s", "%ab", "Argument", "s", "1",
                  "a{sv}", 2, "Placeholder", "s", "", "Argument", "s", "x"),
            "%ab 1");
  EXPECT_EQ(shown("de", 2, "Url", "s", "x/%u", "UrlArguments", "aa{sv}", 1, 3, "Placeholder", "s", "%u",
                  "TextSource", "i", 1, "ObjectName", "s", "DryRun"),
            "<x/Trockenlauf>");
}

TEST_F(ListServiceTest, CarriesAnAlarmThroughItsLife) {
  const struct {
    const char* name;
    int type;
    const char* steps;  // 1 on, 0 off, a acknowledge, d acknowledge the detector
    const char* found;  // in the list; then alarm, active alarm, fault, active fault, detector
    int events;
  } rows[] = {
      {"raised", 0, "1", "true false 11001", 1},
      {"raised fault, detector acknowledged", 2, "1d", "true false 00110", 2},
      {"off first, then acknowledged", 0, "10a", "00001", 3},
      {"acknowledged first, then off", 0, "1a0", "00001", 3},
      {"off, waiting to be acknowledged", 2, "10", "false false 00101", 2},
      {"raised again before it was acknowledged", 0, "1d01", "true false 11001", 4},
      {"on repeated after its acknowledgement", 0, "1ad1", "true true 11000", 4},
      {"acknowledged twice", 0, "1aa", "true true 11001", 2},
      {"off without on", 0, "0", "00000", 1},
      {"an event is no alarm", 3, "1", "00000", 1},
  };
  const std::map<char, Strings> commands{{'a', {"ack", "{id}", "--user", "Kim"}},
                                         {'d', {"ack-detector", "--user", "Kim"}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    start({"--db", file(row.name)});
    Entry edge{0, "", row.type, 0, "{id}"};
    for (const char step : std::string(row.steps)) {
      edge.state = step == '1' ? 1 : 2;
      ++edge.sequence;
      if (commands.count(step) > 0) ctl(commands.at(step));
      if (commands.count(step) == 0) log(edge);
    }
    start({"--db", file(row.name)});
    std::string found;
    for (const char* state : {"AlarmActive", "AlarmAcknowledgment"}) {
      for (const std::string& value : column(state, {"alarms"}))
        found += value + ' ';
    }
    const QJsonObject statistics = ctl({"stats", "--json"});
    for (const char* flag : {"alarm", "active alarm", "fault", "active fault", "detector"}) {
      found += statistics.value(QLatin1String(flag)).toBool() ? '1' : '0';
    }
    EXPECT_EQ(found, row.found);
    EXPECT_EQ(statistics.value(QStringLiteral("entries")).toInt(), row.events);
  }
}

TEST_F(ListServiceTest, KeepsALongListBelowTheLimitOfTheBusAndSaysWhatIsMissing) {
  start();
  Entry entry;
  for (int i = 0; i < 4000; ++i)
    entry.user += "\u20ac";
  for (; entry.sequence <= 800; ++entry.sequence)
    ASSERT_EQ(log(entry, 1, "Url", "s", entry.user.c_str()), "");
  const QByteArray json = ask(kEventListPath, kEventListInterface, "GetList", "su", "", 0U);
  EXPECT_LT(json.size(), 16 * 1024 * 1024);
  const QJsonObject list = QJsonDocument::fromJson(json).object();
  const QJsonArray entries = list.value(QStringLiteral("ListData")).toArray();
  EXPECT_EQ(entries.first().toObject().value(QStringLiteral("EventlistId")).toInt(), 800);
  EXPECT_GT(entries.size(), 600);
  EXPECT_EQ(entries.size() + list.value(QStringLiteral("Omitted")).toInt(), 800);
}

}  // namespace
