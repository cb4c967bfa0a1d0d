#pragma once

#include <QtGlobal>

#include <optional>
#include <string>

/** The command line of the service. */
struct Options {
  std::string databaseFile;  ///< empty: everything in memory
  qint64 capacity = 10000;
  qint64 replyEntries = 10000;  ///< maximum number of event entries in one reply
  int keepDays = 0;             ///< until an event entry is removed; 0 for never
  int orphans = 60;             ///< seconds until the alarms of a program that has ended go off; 0 for never

  /** Exit codes, as --help documents them. */
  enum Exit { ExitDone = 0, ExitFailed = 1, ExitUsage = 2 };

  /**
   * Read the command line. Prints help, version and errors.
   * @param exitCode set if the result is empty
   * @return empty if the program must end with `exitCode`
   */
  static std::optional<Options> parse(int argc, char** argv, int& exitCode);
};
