#pragma once

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <regex>
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

/** Expects that the counters of each "Books:" record balance and that the last one has no pending message.
 * @return the accepted messages of the last record */
inline unsigned long expectBalance(const std::string& records) {
  static const std::regex record(
      "Books: accepted (.*), delivered (.*), pending (.*), superseded (.*), dropped (.*) \\(");
  std::array<unsigned long, 6> n{};
  for (std::sregex_iterator line(records.begin(), records.end(), record), end; line != end; ++line) {
    for (std::size_t i = 1; i < n.size(); ++i) {
      n[i] = std::stoul(line->str(i));
    }
    EXPECT_EQ(n[1], n[2] + n[3] + n[4] + n[5]) << line->str();
  }
  EXPECT_EQ(n[3], 0U) << "after unload";
  return n[1];
}

/** A private bus and, from startService() on, the real list service. */
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

  /** Starts the service; one that runs is killed first. */
  void startService(const Strings& arguments = {}) {
    service.reset();
    ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService, false));
    service.emplace(TAVROLINE_LISTD, arguments);
    ASSERT_TRUE(bus.waitForName(Tavroline::ListServiceNames::kService)) << service->output();
  }

  PrivateBus bus;
  const std::string log = file("runtime.log");  ///< for a runtime's records; printed if the test fails
  std::optional<ChildProcess> service;
};
