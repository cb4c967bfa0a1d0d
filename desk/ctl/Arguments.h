#pragma once

#include <optional>
#include <string>

#include "EntryFilter.h"

/** The command line of tavroline-ctl: one command with its options. All texts are UTF-8. */
struct Arguments {
  /** Carries out a command; see Commands.h. */
  using Command = void (*)(const Arguments& arguments);

  /** Exit codes, as --help documents them. */
  enum Exit { ExitDone = 0, ExitFailed = 1, ExitUsage = 2, ExitNoBus = 3, ExitNoService = 4 };

  Command command = nullptr;
  std::string language;  ///< empty: the service's default
  quint32 count = 0;     ///< newest entries wanted, 0 for all
  bool json = false;
  bool follow = false;
  EntryFilter filter;        ///< without its times
  std::string since, until;  ///< times of the filter as EntryFilter::time() parses them; empty: no bound
  quint32 interval = 0;      ///< seconds from one reading of the statistics to the next, 0 for a single one
  std::string format;        ///< of the export: jsonl, csv or journal
  std::string after;         ///< the export begins behind the entry with this cursor; empty: with the oldest
  EntryFilter::Texts alarmIds;
  std::string user;
  bool yes = false;  ///< delete without asking
  /** What a person logs or raises. */
  struct Entry {
    std::string type;  ///< empty: that of the command
    std::string text, module, icon;
    EntryFilter::Texts keywords;
  };
  Entry entry;

  /**
   * Parse the command line; prints help, version and errors.
   * @param exitCode set if no command is to be run
   * @return no value if the program must end with `exitCode`
   */
  static std::optional<Arguments> parse(int argc, char** argv, int& exitCode);
};
