#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <systemd/sd-bus.h>

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <functional>

#include "BusTest.h"

using namespace Tavroline::ListServiceNames;

namespace {

/** What a test varies in one Log call. */
struct Entry {
  uint64_t sequence = 1;
  std::string user = {};
  int type = 3;
  int state = 0;
  std::string alarmId = {};
  std::string session = "test";
  int64_t time = 1700000000000;
};

/** Calls the service itself, and reads it through tavroline-ctl. */
class ListServiceTest : public BusTest {
 protected:
  void SetUp() override { ASSERT_GE(sd_bus_open_system(&m_connection), 0); }
  void TearDown() override { sd_bus_flush_close_unref(m_connection); }

  /** Store one entry with so many members of a description, each as a {sv}. @return the name of the error */
  template <class... Description>
  std::string log(const Entry& e, Description... description) {
    return call(kEventListPath, kEventListInterface, "Log", [&](sd_bus_message* message) {
      sd_bus_message_append(message, "stiissx", e.session.c_str(), e.sequence, e.type, e.state, "", "PLC",
                            e.time);
      sd_bus_message_append(message, "a{sv}", description...);
      sd_bus_message_append(message, "assss", 1, "key", e.user.c_str(), e.alarmId.c_str(), "Test");
    });
  }
  std::string log(const Entry& entry) { return log(entry, 0); }

  /** Call, and return the name of the error or the text that the reply holds. */
  template <class Append>
  std::string call(const char* path, const char* interface, const char* method, Append append) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(m_connection, &message, kService, path, interface, method);
    append(message);
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    const char* text = "";
    const int result = sd_bus_call(m_connection, message, 0, &error, &reply);
    if (result >= 0) {
      sd_bus_message_read(reply, "s", &text);
    }
    std::string answer = result < 0 ? error.name : text;
    sd_bus_error_free(&error);
    sd_bus_message_unref(reply);
    sd_bus_message_unref(message);
    return answer;
  }

  /** Run tavroline-ctl; what it printed is returned as JSON. */
  QJsonObject ctl(const Strings& arguments) {
    ChildProcess program(TAVROLINE_CTL, arguments);
    EXPECT_EQ(program.wait(), 0) << program.output();
    return QJsonDocument::fromJson(QByteArray::fromStdString(program.output())).object();
  }
  /** One column of a list, the newest entry first. */
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

/** What the elements of our interfaces say, in their order; an element's attributes sorted. */
QStringList surface(const QString& xml) {
  static const QRegularExpression element(QStringLiteral("<((interface|method|signal|property|arg) [^>/]+)"));
  QStringList lines;
  auto match = element.globalMatch(xml, xml.indexOf(QLatin1String("<interface name=\"org.tavroline.")));
  while (match.hasNext()) {
    QStringList words = match.next().captured(1).split(QLatin1Char(' '));
    words.sort();
    lines += words.join(QLatin1Char(' '));
  }
  return lines;
}

TEST_F(ListServiceTest, OffersWhatItsDescriptionSays) {
  startService();
  QFile description(QStringLiteral(TAVROLINE_INTROSPECTION));
  ASSERT_TRUE(description.open(QIODevice::ReadOnly));
  QStringList live;
  for (const char* path : {kEventListPath, kAlarmListPath}) {
    live += surface(QString::fromStdString(
        call(path, "org.freedesktop.DBus.Introspectable", "Introspect", [](sd_bus_message*) {})));
  }
  EXPECT_FALSE(live.isEmpty());
  EXPECT_EQ(live, surface(QString::fromUtf8(description.readAll())));
}

TEST_F(ListServiceTest, KeepsEveryAnsweredMessageWhenKilledAndStoresARepeatedOneOnce) {
  Strings all;
  for (const char* half : {"first", "second"}) {
    startService({"--db", file("lists.db")});
    for (uint64_t i = 1; i <= all.size(); ++i) {  // the whole of it once more, as a client does after a break
      EXPECT_EQ(log({i, "again"}), "");
    }
    for (int i = 0; i < 60; ++i) {
      all.insert(all.begin(), half + std::to_string(i));
      EXPECT_EQ(log({all.size(), all.front()}), "");
    }
    service->kill();
  }
  startService({"--db", file("lists.db")});
  EXPECT_EQ(column("User"), all);
}

TEST_F(ListServiceTest, DropsTheOldestBeyondItsCapacityAndNeverReusesANumber) {
  startService({"--capacity", "3"});
  for (uint64_t i = 1; i <= 5; ++i) {
    log({i});
  }
  EXPECT_EQ(column("EventlistId"), (Strings{"5", "4", "3"}));
  EXPECT_EQ(column("EventlistId", {"events", "--count", "2"}), (Strings{"5", "4"}));
  EXPECT_EQ(ctl({"stats", "--json"}).value(QStringLiteral("overwritten")).toInt(), 2);
  ctl({"delete-events"});
  EXPECT_EQ(column("EventlistId"), Strings{});
  log({6});
  EXPECT_EQ(column("EventlistId"), Strings{"6"});
}

TEST_F(ListServiceTest, RefusesADatabaseThatItCannotUseAndLeavesItAlone) {
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);  // file modes count for root's children too
  const std::string path = file("lists.db");
  const auto write = [&](int offset, const std::string& bytes) {
    std::fstream(path).seekp(offset).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  };
  const Strings usual{"--db", path};
  const struct {
    const char* name;
    std::function<void()> spoil;
    Strings arguments;
    const char* complaint;
  } rows[] = {
      {"damaged at its start", [&] { write(0, "no database"); }, usual, "damaged"},
      {"damaged inside", [&] { write(4096, std::string(4096, 'x')); }, usual, "damaged"},
      {"newer", [&] { write(60, std::string("\0\0\0\2", 4)); }, usual, "newer version"},
      {"another program's", [&] { write(68, "what"); }, usual, "another program"},
      {"read-only file", [&] { chmod(path.c_str(), 0444); }, usual, "cannot be written"},
      {"read-only folder", [&] { chmod(bus.folder().c_str(), 0555); }, usual, "cannot be written"},
      {"no folder", [] {}, {"--db", path + "/none/lists.db"}, "cannot be opened"},
      {"used by a second service", [&] { startService(usual); }, usual, "in use by another process"},
      {"name taken", [&] { startService(usual); }, {"--db", file("other.db")}, "another list service"},
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
    ChildProcess refused(TAVROLINE_LISTD, row.arguments);
    EXPECT_EQ(refused.wait(), 1);
    EXPECT_NE(refused.output().find(row.complaint), std::string::npos) << refused.output();
    EXPECT_EQ(contentOf(path), before);
    service->kill();
    chmod(bus.folder().c_str(), 0755);
    chmod(path.c_str(), 0644);
    write(0, good);
  }
  startService(usual);
  EXPECT_EQ(column("User"), Strings{"kept"});
}

TEST_F(ListServiceTest, RefusesNonsenseAndGoesOn) {
  startService();
  const Entry rows[] = {{0},  // sequences start at 1 and end at 2^63-1
                        {1ULL << 63U},
                        {1, "no session", 3, 0, "", ""},
                        {1, "endless identifier", 3, 0, std::string(300, 'a')},
                        {1, "before 1970", 3, 0, "", "test", -1},
                        {1, "beyond all calendars", 3, 0, "", "test", INT64_MAX}};
  for (const Entry& row : rows) {
    EXPECT_EQ(log(row), kErrorInvalid) << row.user;
  }
  EXPECT_EQ(log({}, 2, "a", "s", "", "a", "s", ""), kErrorInvalid);  // a member twice
  EXPECT_EQ(log({}), "");
  EXPECT_EQ(column("EventlistId"), Strings{"1"});
}

TEST_F(ListServiceTest, SignalsABurstSeldomAndItsLastChangeInAnyCase) {
  startService();
  std::vector<uint64_t> signalled;
  const auto note = [](sd_bus_message* signal, void* generations, sd_bus_error*) {
    return sd_bus_message_read(signal, "t", &static_cast<decltype(signalled)*>(generations)->emplace_back());
  };
  sd_bus_match_signal(m_connection, nullptr, kService, kEventListPath, nullptr, "Changed", note, &signalled);
  QElapsedTimer time;
  time.start();
  for (uint64_t sequence = 1; sequence <= 300; ++sequence) {
    log({sequence});
  }
  const qint64 most = time.elapsed() / 10 + 2;  // with the first and the last
  while (sd_bus_process(m_connection, nullptr) > 0 || sd_bus_wait(m_connection, 500000) > 0) {
  }
  EXPECT_LE(qint64(signalled.size()), most);
  sd_bus_message* reply = nullptr;  // asking brings signals forward, so that comes last
  sd_bus_call_method(m_connection, kService, kEventListPath, kEventListInterface, "GetState", nullptr, &reply,
                     "");
  uint64_t last = 0;
  sd_bus_message_read(reply, "t", &last);
  sd_bus_message_unref(reply);
  ASSERT_FALSE(signalled.empty());
  EXPECT_EQ(signalled.back(), last);
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
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    startService({"--db", file(row.name)});
    uint64_t sequence = 0;
    for (const char step : std::string(row.steps)) {
      if (step == 'a') {
        ctl({"ack", "{id}", "--user", "Kim"});
      }
      if (step == 'd') {
        ctl({"ack-detector", "--user", "Kim"});
      }
      if (step == '1' || step == '0') {
        log({++sequence, "", row.type, step == '1' ? 1 : 2, "{id}"});
      }
    }
    startService({"--db", file(row.name)});
    std::string found;
    for (const char* state : {"AlarmActive", "AlarmAcknowledgment"}) {
      for (const std::string& value : column(state, {"alarms"})) {
        found += value + ' ';
      }
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
  startService();
  Entry entry{1, QString(4000, QChar(0x20AC)).toStdString()};
  for (; entry.sequence <= 800; ++entry.sequence) {
    ASSERT_EQ(log(entry, 1, "Url", "s", entry.user.c_str()), "");
  }
  const std::string json = call(kEventListPath, kEventListInterface, "GetList", [](sd_bus_message* message) {
    sd_bus_message_append(message, "su", "", 0U);
  });
  EXPECT_LT(json.size(), 16U * 1024 * 1024);
  const QJsonObject list = QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
  const QJsonArray entries = list.value(QStringLiteral("ListData")).toArray();
  EXPECT_EQ(entries.first().toObject().value(QStringLiteral("EventlistId")).toInt(), 800);
  EXPECT_GT(entries.size(), 600);
  EXPECT_EQ(entries.size() + list.value(QStringLiteral("Omitted")).toInt(), 800);
}

}  // namespace
