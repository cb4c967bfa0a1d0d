#pragma once

#include <QString>
#include <QStringList>

#include <optional>

#include "EntryFilter.h"
#include "EventPages.h"

/** The command line of tavroline-ctl: one command with its options. */
struct Arguments {
  /** Carries out a command; see Commands.h. */
  using Command = void (*)(const Arguments& arguments);

  /** Exit codes, as --help documents them. */
  enum Exit { ExitDone = 0, ExitFailed = 1, ExitUsage = 2, ExitNoBus = 3, ExitNoService = 4 };

  Command command = nullptr;
  QString language;   ///< empty: the service's default
  quint32 count = 0;  ///< newest entries wanted, 0 for all
  bool json = false;
  bool follow = false;
  EntryFilter filter;        ///< without its times
  std::string since, until;  ///< times of the filter as EntryFilter::time() parses them; empty: no bound
  quint32 interval = 0;      ///< seconds from one reading of the statistics to the next, 0 for a single one
  QString format;            ///< of the export: jsonl, csv or journal
  Cursor after;              ///< the export begins behind it
  QStringList alarmIds;
  QString user;
  bool yes = false;  ///< delete without asking
  /** What a person logs or raises. */
  struct Entry {
    QVector<int> types;  ///< number of its event type; empty: that of the command
    QString text, module, icon;
    QStringList keywords;
  };
  Entry entry;

  /**
   * Parse the command line; prints help, version and errors.
   * @param exitCode set if no command is to be run
   * @return no value if the program must end with `exitCode`
   */
  static std::optional<Arguments> parse(int argc, char** argv, int& exitCode);
};
