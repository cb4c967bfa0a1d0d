#include "SimOptions.h"

#include <CLI/CLI.hpp>

#include <map>

#include "FaultPlan.h"

namespace {

void declare(CLI::App& app, SimOptions& options, std::vector<std::string>& files) {
  const std::map<std::string, std::uint64_t> units{{"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}};
  app.add_option("file", files, "the component, unless the installed one is wanted; then PLC programs")
      ->check(CLI::ExistingFile)
      ->required();
  app.add_option("--for", options.seconds, "virtual time of the run: a number and s, m, h or d")
      ->transform(CLI::AsNumberWithUnit(units, CLI::AsNumberWithUnit::CASE_INSENSITIVE, "TIME"))
      ->default_str("24h");
  app.add_option("--seed", options.seed, "decides the order of all that happens at the same time")
      ->type_name("N")
      ->capture_default_str();
  app.add_option("--cycle-ms", options.cycleMilliseconds, "period of the communication cycle")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_option("--faults", options.faults, "what fails during the run, at times drawn from the seed")
      ->check(CLI::IsMember(FaultPlan::profiles()))
      ->capture_default_str();
  app.add_option("--only", options.only, "of these faults only those with these numbers, from 1 on")
      ->type_name("N,N")
      ->delimiter(',')
      ->allow_extra_args(false);
  app.add_flag("--show-faults", options.showFaults, "print the faults with their numbers, and run");
  app.add_option("--log", options.logFile, "append the log to this file instead of standard error")
      ->type_name("FILE");
  app.add_option("--record", options.recordFolder,
                 "write what was stored into this folder, for scripts/simulate")
      ->type_name("FOLDER")
      ->check(CLI::ExistingDirectory);
  app.add_option("--capacity", options.capacity, "event entries that the service keeps")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000))
      ->capture_default_str();
  app.set_version_flag("--version", TAVROLINE_VERSION);
  app.footer(
      "Everything runs in one thread on a virtual clock: the same seed gives the same run. A program's wish\n"
      "to end is noted, and the run goes on.\n"
      "Exit codes: 0 done; 2 for a wrong option, or if a file could not be loaded or started.");
}

}  // namespace

std::optional<SimOptions> SimOptions::parse(int argc, char** argv, int& exitCode) {
  SimOptions options;
  std::vector<std::string> files;
  CLI::App app("Runs a component and PLC programs for a virtual time, with both list services.",
               "tavroline-sim");
  declare(app, options, files);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = app.exit(error) == 0 ? ExitDone : ExitUsage;
    return std::nullopt;
  }
  options.files = ProgramFiles::of(files);
  return options;
}
