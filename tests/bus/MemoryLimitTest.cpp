// A host whose address space ends while a long list is loaded.
#include "ListServiceTest.h"

namespace {

using MemoryLimitTest = ListServiceTest;

TEST_F(MemoryLimitTest, EndsNoProcessAndEveryMessageIsStoredOrCounted) {
  startService({"--capacity", "50000", "--reply-entries", "50000"});
  Peer peer;
  peer.resume("s");
  const std::string batch = messages(QString("a ").repeated(250).toStdString());
  for (int i = 0; i < 200; ++i) {
    peer.send("s", 250 * i + 1, 250 * i, batch);
  }
  const std::regex summary("(\\d+) messages, (\\d+) loads, (\\d+) failed");
  int failures = 0;
  std::string output;
  std::smatch numbers;
  for (int limit = 100; limit <= 300; limit += 20) {
    SCOPED_TRACE(testing::Message() << limit << " MiB");
    const std::string logged = file(std::to_string(limit));
    // One arena, so that the room for the list grows with the limit.
    ChildProcess host("prlimit", {"--as=" + std::to_string(limit << 20), "env", "MALLOC_ARENA_MAX=1",
                                  TAVROLINE_HOST, "--log", logged, TAVROLINE_LIBRARY, TAVROLINE_LOADER});
    ASSERT_EQ(host.wait(), 0) << host.output() << contentOf(logged);
    output = host.output();
    ASSERT_TRUE(std::regex_search(output, numbers, summary)) << output;
    const std::string records = contentOf(logged);
    const unsigned long refused = std::stoul(records.substr(records.rfind("refused ") + 8));
    const unsigned long counted = expectBalance(records) + refused, handed = std::stoul(numbers[1]);
    EXPECT_LE(counted, handed);
    EXPECT_GE(counted + 40, handed) << "40 calls had no memory; one that fails hands nothing over";
    failures += std::stoi(numbers[3]);
  }
  EXPECT_GT(failures, 0) << "the lowest limits leave no room for the list";
  EXPECT_NE(numbers[2], "0") << "the highest one does";
  EXPECT_EQ(QString::fromStdString(alarms("--active")).count('{'), 11);
}

}  // namespace
