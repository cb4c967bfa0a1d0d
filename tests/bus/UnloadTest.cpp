// Unloading really unloads, whatever state the bus is in, and takes nothing with it that had to arrive.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "Runtime.h"

namespace {

bool libraryIsMapped() {
  std::ifstream maps("/proc/self/maps");
  const std::string all{std::istreambuf_iterator<char>(maps), {}};
  return all.find("libTavroline.so") != std::string::npos;
}

auto threads() {
  using Tasks = std::filesystem::directory_iterator;
  return std::distance(Tasks("/proc/self/task"), Tasks());
}

enum class BusState { kServed, kStopped, kStoppedInUse, kNone };

struct Row {
  const char* name;
  BusState bus;
};

class Unload : public testing::TestWithParam<Row> {};

/** Use both roads and the hook, without waiting for an answer. */
void use(Runtime& runtime) {
  runtime.logEvent(3, 0, {});
  loadcompleteeventlist_struct load{runtime.openEvents(), TAVROLINE_ERROR};
  runtime.call("loadcompleteeventlist", load);
  EXPECT_NE(load.iResult, TAVROLINE_DONE);
  EXPECT_FALSE(runtime.flag("getcentraldetectorstate", runtime.openAlarms()));
  const TavrolineHandle alarm = runtime.openAlarm();
  runtime.logAlarm(alarm, 0, 1);
  runtime.close(alarm);
}

}  // namespace

TEST_P(Unload, LeavesNeitherTheLibraryNorItsThread) {
  PrivateBus bus;
  std::optional<Service> service;
  const BusState state = GetParam().bus;
  if (state == BusState::kServed || state == BusState::kStoppedInUse) service.emplace(bus);
  if (state == BusState::kStopped) bus.pause();
  if (state == BusState::kNone) bus.stop();
  const auto before = threads();

  // Twice: a library that stayed would be found with its old state.
  for (int round = 0; round < 2; ++round) {
    std::optional<Runtime> runtime(std::in_place);
    const TavrolineHandle reader = runtime->openEvents();
    if (service && round == 0) {
      EXPECT_EQ(runtime->load(reader), TAVROLINE_DONE);
    }
    if (state == BusState::kStoppedInUse && round == 0) bus.pause();
    runtime->close(reader);
    use(*runtime);
    EXPECT_TRUE(libraryIsMapped());
    EXPECT_EQ(threads(), before + 2) << "the hook's and the client's own";

    const auto start = std::chrono::steady_clock::now();
    runtime.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_FALSE(libraryIsMapped());
    // A joined thread may stay listed for a moment.
    EXPECT_TRUE(eventually([&] { return threads() == before; })) << threads() - before;
  }
  bus.resume();
}

INSTANTIATE_TEST_SUITE_P(Bus, Unload,
                         testing::Values(Row{"Served", BusState::kServed}, Row{"Stopped", BusState::kStopped},
                                         Row{"StoppedInUse", BusState::kStoppedInUse},
                                         Row{"None", BusState::kNone}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(UnloadOrder, TheOffOfAFaultClosedWhileOnArrivesBeforeTheLibraryIsGone) {
  const PrivateBus bus;
  const Service service(bus);
  {
    Runtime runtime;
    const TavrolineHandle fault = runtime.openAlarm();
    runtime.logAlarm(fault, 2, 1);
    runtime.close(fault);
  }
  ASSERT_FALSE(libraryIsMapped());

  Runtime runtime;
  const TavrolineHandle reader = runtime.openEvents();
  ASSERT_EQ(runtime.load(reader), TAVROLINE_DONE);
  const auto list = runtime.entries(reader);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_STREQ(list[0].sIconType, "fault-off");
  EXPECT_STREQ(list[1].sIconType, "fault-on");
}
