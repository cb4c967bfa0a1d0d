#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ProgramFiles.h"

/** The command line of tavroline-sim. */
struct SimOptions {
  ProgramFiles files;
  std::uint64_t seconds = 86400;  ///< virtual
  std::uint64_t seed = 1;
  std::uint32_t cycleMilliseconds = 10;
  std::string faults = "none";  ///< a profile of FaultPlan
  std::vector<unsigned> only;   ///< numbers of the plan's faults that happen; empty for all
  bool showFaults = false;
  std::string logFile;
  std::string recordFolder;
  std::int64_t capacity = 1000000;

  /** Exit codes, as --help documents them. */
  enum Exit { ExitDone = 0, ExitUsage = 2 };

  /** Read the command line; prints help, version and errors. @param exitCode set if the result is empty
   * @throws std::runtime_error if no component is found */
  static std::optional<SimOptions> parse(int argc, char** argv, int& exitCode);
};
