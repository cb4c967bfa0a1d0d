#pragma once

#include <QtGlobal>

#include <optional>
#include <string>

/** The command line of the service. */
struct Options {
  std::string databaseFile;  ///< empty: everything in memory
  qint64 capacity = 10000;

  /** Exit codes, as --help documents them. */
  enum Exit { ExitDone = 0, ExitFailed = 1, ExitUsage = 2 };

  /**
   * Read the command line; help, version and complaints are printed here.
   * @param exitCode set when there is nothing to run
   * @return nothing when the program has to end with `exitCode`. [any-thread]
   */
  static std::optional<Options> parse(int argc, char** argv, int& exitCode);
};
