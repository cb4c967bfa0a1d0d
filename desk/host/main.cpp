// tavroline-host: a minimal PLC runtime around one component.
#include <CLI/CLI.hpp>

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "CallMonitor.h"
#include "ComponentManager.h"
#include "EndRequest.h"
#include "PeriodicThread.h"
#include "PlcApplication.h"
#include "Report.h"
#include "RuntimeFunctions.h"

namespace {

constexpr int kCannotStart = 2;

struct Options {
  std::string library;
  std::vector<std::string> programs;
  std::uint32_t cycleMilliseconds = 10;
  std::optional<unsigned> seconds;
  unsigned repeat = 1;
  std::string logFile;
  std::string traceFile;
  bool report = false;
  bool stats = false;
  bool list = false;
  bool verbose = false;
};

void declare(CLI::App& app, Options& options) {
  app.add_option("library", options.library, "the component to load")->required()->check(CLI::ExistingFile);
  app.add_option("program", options.programs, "PLC programs to run")->check(CLI::ExistingFile);
  app.add_option("--cycle-ms", options.cycleMilliseconds, "period of the communication cycle")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_option("--seconds", options.seconds, "end after this many seconds");
  app.add_option("--repeat,--lives", options.repeat,
                 "number of runs; each must be ended by a program with status 0")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--log", options.logFile, "append log records to this file instead of standard error")
      ->type_name("FILE");
  app.add_option("--trace", options.traceFile, "write every call with its structure's fields to this file")
      ->type_name("FILE");
  app.add_flag("--report", options.report, "print calls, overruns and longest time per task and function");
  app.add_flag("--stats", options.stats, "print the client's message counters");
  app.add_flag("--list", options.list, "print what the component registers, and end");
  app.add_flag("--verbose", options.verbose, "print what the component registers, and run");
  app.set_version_flag("--version", std::string(TAVROLINE_VERSION));
  app.footer(
      "A cycle overruns when it ends after its period, a call when it alone takes longer than that.\n"
      "Ends at SIGINT or SIGTERM, or when a program asks for it; a second signal kills it.\n"
      "Exit codes: the one a program asked for, otherwise 0; 2 for a wrong option, or if a file could not\n"
      "be loaded or started.");
}

void printRegistered(const ComponentManager& component) {
  std::printf("component %08" PRIx32 ", version %08" PRIx32 ", %zu functions\n", component.componentId(),
              component.version(), component.functions().size());
  for (const ComponentManager::Function& row : component.functions()) {
    std::printf("  %-34s %08" PRIX32 "  %08" PRIx32 "\n", row.name.c_str(), row.signatureId, row.version);
  }
}

using Threads = std::list<const PeriodicThread*>;

void printCycles(const Threads& threads) {
  for (const PeriodicThread* thread : threads) {
    std::fprintf(stderr,
                 "%s: %" PRIu64 " cycles, %" PRIu64 " overruns, longest cycle %" PRIu64 " microseconds\n",
                 thread->name().c_str(), thread->record().cycles, thread->record().overruns,
                 thread->record().longestMicroseconds);
  }
}

/** Starts library, programs, hook and tasks, in this order. Ends the tasks, calls the programs' stop
 * functions, ends the hook, then unloads the programs and the library. */
int runComponent(const Options& options, EndRequest& end) {
  const ComponentManager component(options.library);
  if (options.list || options.verbose) {
    printRegistered(component);
  }
  if (options.list) {
    return 0;
  }

  CallMonitor monitor(component, options.report, options.traceFile);
  std::list<PlcApplication> applications;
  for (const std::string& program : options.programs) {
    applications.emplace_back(program, monitor, end);
  }
  PeriodicThread hook("hook", options.cycleMilliseconds, [&component] { component.communicationCycle(); });
  for (PlcApplication& application : applications) {
    application.start();
  }

  const int status = end.wait(options.seconds);

  for (PlcApplication& application : applications) {
    application.stop();
  }
  hook.requestStop();
  hook.join();
  Threads threads;
  for (const PlcApplication& application : applications) {
    for (const PeriodicThread& task : application.tasks()) {
      threads.push_back(&task);
    }
  }
  threads.push_back(&hook);
  if (options.report) {
    Report::printTasks(threads);
    Report::printCalls(monitor);
  } else {
    printCycles(threads);
  }
  return status;
}

int run(const Options& options) {
  if (!options.logFile.empty()) {
    RuntimeFunctions::logToFile(options.logFile);
  }
  if (options.stats) {
    RuntimeFunctions::keepRecord(Report::kCountersMark);
  }
  int status = 0;
  bool again = true;
  for (unsigned number = 1; again && number <= options.repeat; ++number) {
    EndRequest end;
    status = runComponent(options, end);
    again = status == 0 && end.isFinished();
    if (options.repeat > 1) {
      std::fprintf(stderr, "end of run %u\n", number);
    }
  }
  // The library writes the last record when it is unloaded.
  if (options.stats) {
    Report::printCounters(RuntimeFunctions::keptRecord());
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app("Runs a component and PLC programs as a PLC runtime does.", "tavroline-host");
  declare(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kCannotStart;  // --help and --version are no errors
  }
  try {
    return run(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-host: %s\n", error.what());
    return kCannotStart;
  }
}
