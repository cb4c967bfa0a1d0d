#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "ListServiceNames.h"
#include "PrivateBus.h"

using Strings = std::vector<std::string>;

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

inline bool fileHolds(const std::string& path, const std::string& text) {
  return contentOf(path).find(text) != std::string::npos;
}

/** Every record of the client's books balances, and nothing is pending in the last. @return accepted by that
 */
inline unsigned long expectBalance(const std::string& records) {
  std::array<unsigned long, 12> n{};
  for (auto at = records.find("Books: "); at != std::string::npos; at = records.find("Books: ", at + 1)) {
    const int read = std::sscanf(
        &records[at],
        "Books: accepted %lu, delivered %lu, pending %lu, superseded %lu, dropped %lu (unsendable %lu,"
        " rejected %lu, unanswered %lu, unload %lu), refused %lu (queue full %lu, out of memory %lu)",
        &n[0], &n[1], &n[2], &n[3], &n[4], &n[5], &n[6], &n[7], &n[8], &n[9], &n[10], &n[11]);
    EXPECT_TRUE(read == 12 && n[0] == n[1] + n[2] + n[3] + n[4] && n[4] == n[5] + n[6] + n[7] + n[8] &&
                n[9] == n[10] + n[11])
        << records.substr(at, 300);
  }
  EXPECT_EQ(n[2], 0U) << "pending after unload";
  return n[0];
}

/** A private bus and the real list service on it, once it is started. */
class BusTest : public testing::Test {
 protected:
  ~BusTest() override {
    expectBalance(contentOf(log));
    if (HasFailure()) {
      std::cerr << std::ifstream(log).rdbuf();
    }
  }

  /** The path of a file of this test. */
  std::string file(const std::string& name) const { return bus.folder() + "/" + name; }

  /** Start the service; one that runs is killed first. */
  void startService(const Strings& arguments = {}) {
    service.reset();
    ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService, false));
    service.emplace(TAVROLINE_LISTD, arguments);
    ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService)) << service->output();
  }

  PrivateBus bus;
  const std::string log = file("runtime.log");  ///< for the records of a runtime, shown when the test fails
  std::optional<ChildProcess> service;
};
