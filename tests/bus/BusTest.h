#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
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
  static const std::regex record("Books: .*"), counter("([a-z][a-z ]*) ([0-9]+)");
  std::map<std::string, unsigned long> n;
  const std::sregex_iterator end;
  for (std::sregex_iterator line(records.begin(), records.end(), record); line != end; ++line) {
    const std::string text = line->str();
    n.clear();
    for (std::sregex_iterator match(text.begin(), text.end(), counter); match != end; ++match) {
      n[match->str(1)] = std::stoul(match->str(2));
    }
    EXPECT_EQ(n["accepted"], n["delivered"] + n["pending"] + n["superseded"] + n["dropped"]) << text;
    EXPECT_EQ(n["dropped"], n["unsendable"] + n["rejected"] + n["unanswered"] + n["unload"]) << text;
    EXPECT_EQ(n["refused"], n["queue full"] + n["out of memory"]) << text;
  }
  EXPECT_EQ(n["pending"], 0U) << "after unload";
  return n["accepted"];
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
