#include <systemd/sd-bus.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <functional>
#include <sstream>

#include "BusTest.h"
#include "tavroline/conventions.h"

using namespace Tavroline::ListServiceNames;

namespace {

/** The arguments of a Log call that tests vary. */
struct Entry {
  uint64_t sequence = 1;
  std::string user = {};
  std::string session = "test";
  int type = TAVROLINE_EVENT;
  int state = TAVROLINE_NEUTRAL;
  std::string alarmId = {};
  int64_t time = 1700000000000;
};

/** Calls the service directly and reads it through tavroline-ctl. */
class ListServiceTest : public BusTest {
 protected:
  void SetUp() override { ASSERT_GE(sd_bus_open_system(&m_connection), 0); }
  void TearDown() override { sd_bus_flush_close_unref(m_connection); }

  /** Logs an entry. @param description number of members and each as name, signature and value
   * @return the name of the error, empty without one */
  template <class... Description>
  std::string log(const Entry& e, Description... description) {
    return call(kEventListPath, kEventListInterface, "Log", "stiissxa{sv}assss", e.session.c_str(),
                e.sequence, e.type, e.state, "", "PLC", e.time, description..., 1, "key", e.user.c_str(),
                e.alarmId.c_str(), "Test");
  }
  std::string log(const Entry& entry) { return log(entry, 0); }

  /** Calls a method. @return the name of the error or the text in the reply */
  template <class... Arguments>
  std::string call(const char* path, const char* interface, const char* method, const char* types,
                   Arguments... arguments) {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    const char* text = "";
    if (sd_bus_call_method(m_connection, kService, path, interface, method, &error, &reply, types,
                           arguments...) >= 0) {
      sd_bus_message_read(reply, "s", &text);
    }
    std::string answer = error.name != nullptr ? error.name : text;
    sd_bus_error_free(&error);
    sd_bus_message_unref(reply);
    return answer;
  }

  /** Runs tavroline-ctl. @return the JSON that it prints */
  QJsonObject ctl(const Strings& arguments) {
    ChildProcess program(TAVROLINE_CTL, arguments);
    EXPECT_EQ(program.wait(), 0) << program.output();
    return QJsonDocument::fromJson(QByteArray::fromStdString(program.output())).object();
  }
  /** One member of each entry of a list, the newest entry first. */
  Strings column(const char* name, Strings listCommand = {"events"}) {
    listCommand.emplace_back("--json");
    Strings result;
    for (const QJsonValue entry : ctl(listCommand).value(QStringLiteral("ListData")).toArray()) {
      result.push_back(entry.toObject().value(QLatin1String(name)).toVariant().toString().toStdString());
    }
    return result;
  }

  sd_bus* m_connection = nullptr;
};

/** The declarations of an introspection text from our first interface on, one in a line. */
std::string declarations(const std::string& xml) {
  static const std::regex declaration("<(interface|method|signal|property|arg) [^>/]+");
  const std::string own = xml.substr(xml.find("<interface name=\"org.tavroline."));
  std::string lines;
  for (std::sregex_iterator found(own.begin(), own.end(), declaration), end; found != end; ++found) {
    lines += found->str() + "\n";
  }
  return lines;
}

TEST_F(ListServiceTest, OffersWhatItsDescriptionSays) {
  startService();
  std::string offered;
  for (const char* path : {kEventListPath, kAlarmListPath}) {
    offered += declarations(call(path, "org.freedesktop.DBus.Introspectable", "Introspect", ""));
  }
  EXPECT_EQ(offered, declarations(contentOf(TAVROLINE_INTROSPECTION)));
}

TEST_F(ListServiceTest, DropsTheOldestBeyondItsCapacityAndNeverReusesANumber) {
  startService({"--capacity", "3"});
  for (uint64_t i = 1; i <= 5; ++i) {
    log({i});
  }
  EXPECT_EQ(column("EventlistId"), (Strings{"5", "4", "3"}));
  EXPECT_EQ(ctl({"stats", "--json"}).value(QStringLiteral("overwritten")).toInt(), 2);
  ctl({"delete-events"});
  EXPECT_EQ(column("EventlistId"), Strings{});
  log({6});
  EXPECT_EQ(column("EventlistId"), Strings{"6"});
}

TEST_F(ListServiceTest, RefusesADatabaseThatItCannotUseAndLeavesItAlone) {
  const std::string path = file("lists.db");
  const auto write = [&](int offset, const std::string& bytes) {
    std::fstream(path).seekp(offset).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  };
  const Strings usual{"--db", path};
  const struct {
    const char* name;
    std::function<void()> spoil;
    const char* complaint;
  } rows[] = {
      {"damaged at its start", [&] { write(0, "no database"); }, "damaged"},
      {"damaged inside", [&] { write(4096, std::string(4096, 'x')); }, "damaged"},
      {"newer", [&] { write(60, std::string("\0\0\0\2", 4)); }, "newer version"},
      {"another program's", [&] { write(68, "what"); }, "another program"},
      {"used by a second service", [&] { startService(usual); }, "in use by another process"},
  };
  startService(usual);
  log({1, "kept"});
  service->signal(SIGTERM);
  ASSERT_EQ(service->wait(), 0);
  const std::string good = contentOf(path);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    row.spoil();
    const std::string before = contentOf(path);
    ChildProcess refused(TAVROLINE_LISTD, usual);
    EXPECT_EQ(refused.wait(), 1);
    EXPECT_NE(refused.output().find(row.complaint), std::string::npos) << refused.output();
    EXPECT_EQ(contentOf(path), before);
    service->kill();
    write(0, good);
  }
  startService(usual);
  EXPECT_EQ(column("User"), Strings{"kept"});
}

TEST_F(ListServiceTest, RefusesInvalidEntriesAndStoresTheNext) {
  startService();
  const struct {
    const char* name;
    void (*spoil)(Entry& entry);
  } rows[] = {
      {"sequence 0", [](Entry& entry) { entry.sequence = 0; }},
      {"identifier of 300 characters", [](Entry& entry) { entry.alarmId = std::string(300, 'a'); }},
      {"time before 1970", [](Entry& entry) { entry.time = -1; }},
      {"time beyond all calendars", [](Entry& entry) { entry.time = INT64_MAX; }},
  };
  for (const auto& row : rows) {
    Entry entry;
    row.spoil(entry);
    EXPECT_EQ(log(entry), kErrorInvalid) << row.name;
  }
  EXPECT_EQ(log({}, 2, "a", "s", "", "a", "s", ""), kErrorInvalid) << "a member twice";
  EXPECT_EQ(log({}), "");
  EXPECT_EQ(column("EventlistId"), Strings{"1"});
}

TEST_F(ListServiceTest, ShowsDescriptionsInTheLanguageAsked) {
  startService();
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
  // The longest placeholder wins, an empty one is ignored, inserted text is not searched again.
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
    int type;
    const char* steps;
    const char* found;  // entries of the event list, then what is TRUE of the alarm and of the alarm list
  } rows[] = {
      {TAVROLINE_FAULT, "on ack-detector", "2 entries, on, fault, active fault"},
      {TAVROLINE_ALARM, "on off ack", "3 entries, detector"},
      {TAVROLINE_ALARM, "on ack off", "3 entries, detector"},
      {TAVROLINE_FAULT, "on off", "2 entries, fault, detector"},
      {TAVROLINE_ALARM, "on ack-detector off on", "4 entries, on, alarm, active alarm, detector"},
      {TAVROLINE_ALARM, "on ack ack ack-detector on", "4 entries, on, acknowledged, alarm, active alarm"},
      {TAVROLINE_ALARM, "off", "1 entries"},
      {TAVROLINE_EVENT, "on", "1 entries"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.steps);
    startService({"--db", file(row.steps)});
    Entry entry{0, "", "test", row.type, TAVROLINE_NEUTRAL, "{id}"};
    std::istringstream steps(row.steps);
    for (std::string step; steps >> step;) {
      if (step == "ack") {
        ctl({"ack", "{id}", "--user", "Kim"});
      } else if (step == "ack-detector") {
        ctl({"ack-detector", "--user", "Kim"});
      } else {
        ++entry.sequence;
        entry.state = step == "on" ? TAVROLINE_ON : TAVROLINE_OFF;
        EXPECT_EQ(log(entry), "");
      }
    }
    startService({"--db", file(row.steps)});
    const QJsonObject statistics = ctl({"stats", "--json"});
    std::string found = std::to_string(statistics.value(QStringLiteral("entries")).toInt()) + " entries";
    found += column("AlarmActive", {"alarms"}) == Strings{"true"} ? ", on" : "";
    found += column("AlarmAcknowledgment", {"alarms"}) == Strings{"true"} ? ", acknowledged" : "";
    for (const char* flag : {"alarm", "active alarm", "fault", "active fault", "detector"}) {
      found += statistics.value(QLatin1String(flag)).toBool() ? std::string(", ") + flag : "";
    }
    EXPECT_EQ(found, row.found);
  }
}

TEST_F(ListServiceTest, KeepsALongReplyBelowTheLimitOfTheBusAndCountsWhatItOmits) {
  startService();
  Entry entry{1, QString(4000, QChar(0x20AC)).toStdString()};
  for (; entry.sequence <= 800; ++entry.sequence) {
    ASSERT_EQ(log(entry, 1, "Url", "s", entry.user.c_str()), "");
  }
  const std::string json = call(kEventListPath, kEventListInterface, "GetList", "su", "", 0U);
  EXPECT_LT(json.size(), 16U * 1024 * 1024);
  const QJsonObject list = QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
  const QJsonArray entries = list.value(QStringLiteral("ListData")).toArray();
  EXPECT_EQ(entries.first().toObject().value(QStringLiteral("EventlistId")).toInt(), 800);
  EXPECT_GT(entries.size(), 600);
  EXPECT_EQ(entries.size() + list.value(QStringLiteral("Omitted")).toInt(), 800);
}

}  // namespace
