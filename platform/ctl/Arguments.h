#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/** The command line of tavroline-ctl: one command with its options. */
struct Arguments {
  enum class Command { Events, DeleteEvents, Alarms, Acknowledge, AcknowledgeDetector, Statistics };

  /** Exit codes, as --help documents them. */
  enum Exit { ExitDone = 0, ExitFailed = 1, ExitUsage = 2 };

  Command command = Command::Events;
  QString language;   ///< empty: the service's default
  quint32 count = 0;  ///< newest entries wanted, 0 for all
  bool json = false;
  bool follow = false;
  std::optional<bool> active;        ///< alarms in this state only
  std::optional<bool> acknowledged;  ///< alarms in this state only
  QStringList alarmIds;
  QString user;

  /**
   * Read the command line; help, version and complaints are printed here.
   * @param exitCode set when there is nothing to run
   * @return nothing when the program has to end with `exitCode`. [any-thread]
   */
  static std::optional<Arguments> parse(int argc, char** argv, int& exitCode);
};
