#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "ListServiceNames.h"
#include "PrivateBus.h"

using Strings = std::vector<std::string>;

inline bool fileHolds(const std::string& path, const std::string& text) {
  std::ifstream file(path);
  return std::string(std::istreambuf_iterator<char>(file), {}).find(text) != std::string::npos;
}

/** A private bus and the real list service on it, once it is started. */
class BusTest : public testing::Test {
 protected:
  ~BusTest() override {
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
