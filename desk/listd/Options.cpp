#include "Options.h"

#include <CLI/CLI.hpp>

std::optional<Options> Options::parse(int argc, char** argv, int& exitCode) {
  CLI::App app("Keeps the event list and the alarm list and offers them on the system bus.",
               "tavroline-listd");
  app.footer(
      "The bus is that of DBUS_SYSTEM_BUS_ADDRESS where that is set.\n"
      "Exit codes: 0 ended by SIGTERM or SIGINT; 1 the database or the bus cannot be used, the cause is on\n"
      "stderr; 2 wrong usage.");
  Options options;
  app.add_option("--db", options.databaseFile, "database file; without it everything is kept in memory")
      ->type_name("FILE");
  app.add_option("--capacity", options.capacity, "event entries kept, the oldest make room")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000))
      ->capture_default_str();
  app.add_option("--reply-entries", options.replyEntries, "newest event entries in one reply")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000))
      ->capture_default_str();
  app.add_option("--keep-days", options.keepDays, "days until an event entry is removed, 0 for never")
      ->type_name("N")
      ->check(CLI::Range(0, 36500))
      ->capture_default_str();
  app.add_option("--orphans", options.orphans,
                 "seconds until the alarms of a program that has ended go off, 0 for never")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, 86400))
      ->capture_default_str();
  app.set_version_flag("--version", TAVROLINE_VERSION);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = app.exit(error) == 0 ? ExitDone : ExitUsage;
    return std::nullopt;
  }
  return options;
}
