// Unloading really unloads, whatever state the bus is in, and takes nothing with it that had to arrive.
#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <thread>

#include "HostLog.h"
#include "Runtime.h"

namespace {

/** Starts what would otherwise be missing in the first count of memory and threads. */
class UnloadTest : public BusTest {
 protected:
  UnloadTest() {
    // Each unloading of Qt leaks: a program that counts memory keeps Qt.
    dlopen("libQt5Core.so.5", RTLD_NOW | RTLD_NODELETE);
    // The thread sanitizer starts a thread of its own with the first one.
    std::string task = "/proc/self/task/";
    std::thread([&task] { task += std::to_string(gettid()); }).join();
    eventually([&task] { return !std::filesystem::exists(task); });  // may stay listed for a moment
  }
};

bool libraryIsMapped() {
  return fileHolds("/proc/self/maps", "libTavroline.so");
}

auto threads() {
  using Tasks = std::filesystem::directory_iterator;
  return std::distance(Tasks("/proc/self/task"), Tasks());
}

}  // namespace

TEST_F(UnloadTest, LeavesNoLibraryAndNoThreadAndSendsTheOffOfAnOpenHandleOrReportsItLost) {
  const struct {
    const char* name;
    bool inUse;
    std::function<void()> disturb;
    bool arrives;
  } rows[] = {
      {"served", true, [] {}, true},
      {"first use", false, [] {}, true},
      {"service stopped", true, [&] { service->pause(); }, false},
      {"service killed", true, [&] { service->kill(); }, false},
      {"bus stopped", true, [&] { bus.pause(); }, false},
      {"first use, bus stopped", false, [&] { bus.pause(); }, false},
      {"no bus", false, [&] { bus.stop(); }, false},
  };
  const auto before = threads();
  // One process: a library that stayed would be found with its old state.
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    HostLog::toFile(file(row.name));
    bus.resume();
    startService();
    std::optional<Runtime> runtime(std::in_place);
    EXPECT_TRUE(!row.inUse || runtime->load(runtime->open(Runtime::kEventReader)) == TAVROLINE_DONE);
    row.disturb();
    // both lists and the hook, without waiting for an answer
    runtime->logEvent("Valve");
    loadcompleteeventlist_struct load{runtime->open(Runtime::kEventReader), TAVROLINE_ERROR};
    runtime->call("loadcompleteeventlist", load);
    EXPECT_NE(load.iResult, TAVROLINE_DONE);
    EXPECT_FALSE(runtime->flag("getcentraldetectorstate", runtime->open(Runtime::kAlarmReader)));
    runtime->logAlarm(runtime->open(Runtime::kAlarmHandler), TAVROLINE_FAULT, TAVROLINE_ON);
    EXPECT_TRUE(libraryIsMapped());
    EXPECT_EQ(threads(), before + 2) << "the hook's and the client's own";

    runtime.reset();  // ends by itself, also if nothing is answered
    EXPECT_FALSE(libraryIsMapped());
    // A joined thread may stay listed for a moment.
    EXPECT_TRUE(eventually([&] { return threads() == before; })) << threads() - before;
    EXPECT_NE(fileHolds(file(row.name), "3 message(s) lost, not confirmed before unload: numbers 1 to "),
              row.arrives);
    EXPECT_EQ(expectBalance(contentOf(file(row.name))), 3U);
    if (row.arrives) {
      ChildProcess list(TAVROLINE_CTL, {"events", "--type", "fault", "--count", "1"});
      list.wait();
      EXPECT_NE(list.output().find("fault-off"), std::string::npos) << list.output();
    }
  }
}
