#include "LiveObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <future>

using namespace Tavroline::LiveObjects;

TEST(LiveObjectsTest, TasksFindTheirObjectsWhileOthersOpenAndCloseMoreThanTheFirstTableHolds) {
  const auto openAndClose = [] {
    const auto isLive = [](const std::uint64_t& object) { return family(&object) == Family::Reader; };
    const std::deque<std::uint64_t> objects(4000);
    {
      std::deque<Entry> entries;
      for (const auto& object : objects) {
        entries.emplace_back(&object, Family::Reader);
      }
      EXPECT_TRUE(std::all_of(objects.begin(), objects.end(), isLive));
    }
    EXPECT_TRUE(std::none_of(objects.begin(), objects.end(), isLive));
  };
  std::future<void> tasks[6];
  for (auto& task : tasks) {
    task = std::async(std::launch::async, openAndClose);
  }
}
