#pragma once

#include <QString>
#include <QStringList>

#include <optional>

#include "EntryFilter.h"

/** The command line of tavroline-ctl: one command with its options. */
struct Arguments {
  enum class Command { Events, DeleteEvents, Alarms, Acknowledge, AcknowledgeDetector, Statistics, Doctor };

  /** Exit codes, as --help documents them. */
  enum Exit { ExitDone = 0, ExitFailed = 1, ExitUsage = 2, ExitNoBus = 3, ExitNoService = 4 };

  Command command = Command::Events;
  QString language;   ///< empty: the service's default
  quint32 count = 0;  ///< newest entries wanted, 0 for all
  bool json = false;
  bool follow = false;
  EntryFilter filter;
  quint32 interval = 0;  ///< seconds from one reading of the statistics to the next, 0 for a single one
  QStringList alarmIds;
  QString user;

  /**
   * Read the command line; help, version and complaints are printed here.
   * @param exitCode set when there is nothing to run
   * @return nothing when the program has to end with `exitCode`. [any-thread]
   */
  static std::optional<Arguments> parse(int argc, char** argv, int& exitCode);
};
