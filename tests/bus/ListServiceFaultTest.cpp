// Full and damaged storage, and greedy peers.
#include "ListServiceTest.h"

#include <thread>

using Clock = std::chrono::steady_clock;
using ListServiceFaultTest = ListServiceTest;

namespace {

TEST_F(ListServiceFaultTest, KeepsWhatADatabaseOfTheVersionBeforeHolds) {
  sql(kDatabaseBefore);
  Peer peer;
  EXPECT_EQ(peer.begin("s", 41, "new +y"), "40, 42");
  EXPECT_EQ(column("id"), "10 9 7");
  EXPECT_EQ(alarms("--active"), "y x");
  sql("UPDATE events SET user = CAST(x'41ff42' AS TEXT) WHERE id = 9; UPDATE events SET keywords = '[' WHERE "
      "id = 7");
  EXPECT_EQ(column("user"), "+y A\uFFFDB") << "one text is made fit, one entry left out";
  EXPECT_EQ(ctl({"stats", "--json"})["unreadable"].toInt(), 1);
}

TEST_F(ListServiceFaultTest, RefusesADatabaseThatItCannotUseAndLeavesItAlone) {
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

TEST_F(ListServiceFaultTest, DropsTheOldestBeyondItsCapacityAndCountsWhatAReplyOmits) {
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
  startService({"--db", database, "--capacity", "800", "--reply-entries", "1"});
  const QJsonObject bounded =
      object(peer.call({"GetList", kEventListPath, kEventListInterface}, {}, "su", "", 2U));
  EXPECT_EQ(bounded["ListData"].toArray().size() + 10 * bounded["Omitted"].toInt(), 11);
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

TEST_F(ListServiceFaultTest, ShowsAllButDamagedEntriesAndSaysHowManyAreLeftOut) {
  startAgain();
  Peer().begin("s", 1, QString("a ").repeated(100).toStdString());
  const std::pair<const char*, int> rows[] = {
      {"user = CAST(x'41ff42' AS TEXT)", 100},
      {"keywords = '['", 99},
      {"keywords = '[\"key\"]', description = CAST(x'7bff' AS TEXT)", 99}};
  for (const auto& [damage, shown] : rows) {
    sql(std::string("UPDATE events SET ") + damage + " WHERE id = 50");
    EXPECT_EQ(ctl({"events", "--json"}).begin()->toArray().size(), shown) << damage;
    ChildProcess doctor(TAVROLINE_CTL, {"doctor"});
    EXPECT_EQ(doctor.wait(), shown == 100 ? 0 : 1) << doctor.output();
    EXPECT_EQ(doctor.output().find("1 entries of the event list are damaged") == std::string::npos,
              shown == 100);
  }
}

TEST_F(ListServiceFaultTest, FillsASmallDiskWithEntriesAndCanThenDeleteThem) {
  const std::string disk = file("disk");
  std::filesystem::create_directory(disk);
  service.emplace("unshare", Strings{"--mount", "sh", "-c",
                                     "mount -t tmpfs -o size=1m disk " + disk +
                                         " && exec " TAVROLINE_LISTD " --db " + disk + "/db"});
  if (!bus.waitForName(kService)) {
    GTEST_SKIP() << service->output();
  }
  Peer peer;
  peer.resume("s");
  const std::string bytes = entry(std::string(500, 'u'));
  int stored = 0;
  while (stored < 10000 && peer.send("s", stored + 1, stored, bytes) == std::to_string(stored + 1)) {
    ++stored;
  }
  EXPECT_GE(100 * stored * int(bytes.size()) >> 20, 60) << "per cent of the disk";
  EXPECT_EQ(peer.send("s", stored + 1, stored, bytes), "Storage");
  EXPECT_EQ(peer.send("s", stored + 1, stored, messages("delete a")), std::to_string(stored + 2));
}

TEST_F(ListServiceFaultTest, SharesItsTimeBetweenGreedyPeersAndAPlc) {
  startService();
  Peer plc, greedy[3];
  plc.resume("plc");
  for (int i = 0; i < 40; ++i) {
    plc.send("plc", 250 * i + 1, 250 * i, messages(QString("a ").repeated(250).toStdString()));
  }
  for (Peer& peer : greedy) {
    peer.ask(120);
  }
  Clock::duration longest{};
  for (int i = 10001; i <= 10300; ++i) {
    const auto start = Clock::now();
    EXPECT_EQ(plc.send("plc", i, i - 1, message("b")), std::to_string(i));
    longest = std::max(longest, Clock::now() - start);
    std::this_thread::sleep_until(start + Milliseconds(10));
  }
  EXPECT_LT(longest, Milliseconds(1000));
  for (Peer& peer : greedy) {
    EXPECT_GE(peer.refused(120), 80);
  }
}

TEST_F(ListServiceFaultTest, ReadsTheLargestMapsInLinearTimeAndRefusesLargerOnes) {
  const auto maps = [](int count, int members) {
    Map map, all;
    for (int i = 0; i < members; ++i) {
      map[QString::number(i * 7919 % members)] = true;
    }
    for (int i = 0; i < count; ++i) {
      all[QString::number(i)] = map;
    }
    return entry("", all);
  };
  const auto busy = [this] {  // seconds of processor time
    timespec time{};
    clockid_t clock{};
    clock_getcpuclockid(service->pid(), &clock);
    clock_gettime(clock, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
  };
  startService();
  Peer peer;
  const auto time = [&](const char* session, const std::string& bytes, const char* last) {
    peer.resume(session);
    std::string answer;
    const double before = busy();
    for (int i = 1; i <= 250; ++i) {
      answer = peer.send(session, i, i - 1, bytes);
    }
    EXPECT_EQ(answer, last) << session;
    return busy() - before;
  };
  const double small = time("small", maps(90, 100), "250");
  EXPECT_LT(time("large", maps(9, 1000), "250"), 3 * small);
  time("too large", maps(10, 1000), "250 250:1");
}

}  // namespace
