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

/**
 * Every record of the client's books among these lines balances, and nothing is pending in the last, after
 * unload.
 * @return messages accepted by the last
 */
inline unsigned long expectBalance(const std::string& records) {
  unsigned long accepted = 0, delivered = 0, pending = 0, superseded = 0, dropped = 0, refused = 0;
  std::array<unsigned long, 6> lost{};
  static const std::string start = "Books: ";
  for (auto at = records.find(start); at != std::string::npos; at = records.find(start, at + 1)) {
    const int read = std::sscanf(
        records.c_str() + at,
        "Books: accepted %lu, delivered %lu, pending %lu, superseded %lu, dropped %lu (unsendable %lu,"
        " rejected %lu, unanswered %lu, unload %lu), refused %lu (queue full %lu, out of memory %lu)",
        &accepted, &delivered, &pending, &superseded, &dropped, &lost[0], &lost[1], &lost[2], &lost[3],
        &refused, &lost[4], &lost[5]);
    const bool balanced = accepted == delivered + pending + superseded + dropped &&
                          dropped == lost[0] + lost[1] + lost[2] + lost[3] && refused == lost[4] + lost[5];
    EXPECT_TRUE(read == 12 && balanced) << records.substr(at, records.find('\n', at) - at);
  }
  EXPECT_EQ(pending, 0U);
  return accepted;
}

/** A private bus and the real list service on it, once it is started. */
class BusTest : public testing::Test {
 protected:
  ~BusTest() override {
    expectBalance(contentOf(log));
    if (HasFailure()) std::cerr << std::ifstream(log).rdbuf();
  }

  /** The path of a file of this test. */
  std::string file(const std::string& name) const { return bus.folder() + "/" + name; }

  /** Start the service; one that runs is killed first. */
  void startService(const Strings& arguments = {}) {
    service.reset();
    ASSERT_TRUE(bus.waitForName(ListServiceNames::kService, false));
    service.emplace(TAVROLINE_LISTD, arguments);
    ASSERT_TRUE(bus.waitForName(ListServiceNames::kService)) << service->output();
  }

  PrivateBus bus;
  const std::string log = file("runtime.log");  ///< for the records of a runtime, shown when the test fails
  std::optional<ChildProcess> service;
};
