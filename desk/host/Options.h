#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CallMonitor.h"

/** Exit codes of the host itself; every other one is a program's. */
constexpr int kCannotStart = 2;
constexpr int kMisuse = 6;

/** The host's command line. */
struct Options {
  std::string library;
  std::vector<std::string> programs;
  std::uint32_t cycleMilliseconds = 10;
  std::optional<unsigned> seconds;
  unsigned repeat = 1;
  std::string logFile;
  CallMonitor::Options monitor;
  bool stats = false;
  bool list = false;
  bool verbose = false;

  /**
   * Read the command line and find the component if none is named. Throws std::runtime_error when there is
   * none.
   * @param status the exit code if no options are returned: after --help, --version or an error, which is
   * printed. [init]
   */
  static std::optional<Options> parse(int argc, char** argv, int& status);
};
