#include "Options.h"

#include <CLI/CLI.hpp>

#include "ProgramFiles.h"

namespace {

void declare(CLI::App& app, Options& options, std::vector<std::string>& files) {
  app.add_option("file", files, "the component, unless the installed one is wanted; then PLC programs")
      ->check(CLI::ExistingFile);
  app.add_option("--cycle-ms", options.cycleMilliseconds, "period of the communication cycle")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_option("--seconds", options.seconds, "end after this many seconds");
  app.add_option("--repeat,--lives", options.repeat,
                 "number of runs; each must be ended by a program with status 0")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--log", options.logFile, "append the log to this file instead of standard error")
      ->type_name("FILE");
  app.add_option(
         "--trace", options.monitor.traceFile,
         "write every call with its structure's fields to this file, and the log's lines between them")
      ->type_name("FILE");
  app.add_flag("--check", options.monitor.checking, "log misuse that the component accepts as a warning");
  app.add_flag("--report", options.monitor.metering,
               "print calls, overruns and longest time per task and function");
  app.add_flag("--stats", options.stats, "print the client's message counters");
  app.add_flag("--list", options.list, "print what the component registers, and end");
  app.add_flag("--verbose", options.verbose, "print what the component registers, and run");
  app.set_version_flag("--version", std::string(TAVROLINE_VERSION));
  app.footer(
      "A cycle overruns when it ends after its period, a call when it alone takes longer than that.\n"
      "Ends at SIGINT or SIGTERM, or when a program asks for it; a second signal kills it.\n"
      "Exit codes: 6 if --check found misuse; otherwise the one a program asked for, or 0; 2 for a wrong\n"
      "option, or if a file could not be loaded or started.");
}

}  // namespace

std::optional<Options> Options::parse(int argc, char** argv, int& status) {
  Options options;
  std::vector<std::string> files;
  CLI::App app("Runs a component and PLC programs as a PLC runtime does.", "tavroline-host");
  declare(app, options, files);
  try {
    app.parse(argc, argv);
    if (files.empty() && !options.list) {
      throw CLI::RequiredError("file");
    }
  } catch (const CLI::ParseError& error) {
    status = app.exit(error) == 0 ? 0 : kCannotStart;  // --help and --version are no errors
    return std::nullopt;
  }
  const ProgramFiles program = ProgramFiles::of(files);
  options.library = program.component;
  options.programs = program.programs;
  return options;
}
