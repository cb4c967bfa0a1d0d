// tavroline-host: a minimal PLC runtime around one component.
#include <cinttypes>
#include <cstdio>
#include <exception>
#include <list>
#include <optional>
#include <string>

#include "CallMonitor.h"
#include "ComponentManager.h"
#include "EndRequest.h"
#include "HostLog.h"
#include "Options.h"
#include "PeriodicThread.h"
#include "PlcApplication.h"
#include "QtMessages.h"
#include "Report.h"

namespace {

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
 * functions, ends the hook, then unloads the programs and the library. Adds the misuses found to `misuses`.
 */
int runComponent(const Options& options, EndRequest& end, std::uint64_t& misuses) {
  const ComponentManager component(options.library);
  if (options.list || options.verbose) {
    printRegistered(component);
  }
  if (options.list) {
    return 0;
  }

  CallMonitor monitor(component, options.monitor);
  std::list<PlcApplication> applications;
  for (const std::string& program : options.programs) {
    applications.emplace_back(program, monitor, [&end](int status) { end.finish(status); });
  }
  PeriodicThread hook("hook", options.cycleMilliseconds, [&component] { component.communicationCycle(); });
  for (PlcApplication& application : applications) {
    application.start();
  }

  const int status = end.wait(options.seconds);

  for (PlcApplication& application : applications) {
    application.stop();
  }
  misuses += monitor.finishCheck();
  hook.requestStop();
  hook.join();
  Threads threads;
  for (const PlcApplication& application : applications) {
    for (const PeriodicThread& task : application.tasks()) {
      threads.push_back(&task);
    }
  }
  threads.push_back(&hook);
  if (options.monitor.metering) {
    Report::printTasks(threads);
    Report::printCalls(monitor);
  } else {
    printCycles(threads);
  }
  return status;
}

int run(const Options& options) {
  if (!options.logFile.empty()) {
    HostLog::toFile(options.logFile);
  }
  if (options.monitor.checking) {
    CallCheck::endOnFault(kMisuse);
  }
  const QtMessages qtMessages;
  if (options.stats) {
    HostLog::keepRecord(Report::kCountersMark);
  }
  int status = 0;
  std::uint64_t misuses = 0;
  bool again = true;
  for (unsigned number = 1; again && number <= options.repeat; ++number) {
    EndRequest end;
    HostLog::countRepeated(true);
    status = runComponent(options, end, misuses);
    HostLog::countRepeated(false);
    again = status == 0 && end.isFinished();
    if (options.repeat > 1) {
      std::fprintf(stderr, "end of run %u\n", number);
    }
  }
  // The library writes the last record when it is unloaded.
  if (options.stats) {
    Report::printCounters(HostLog::keptRecord());
  }
  if (misuses > 0) {
    std::fprintf(stderr, "tavroline-host: --check found %" PRIu64 " misuses; the log names them\n", misuses);
  }
  return misuses > 0 ? kMisuse : status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    int status = 0;
    const std::optional<Options> options = Options::parse(argc, argv, status);
    return options ? run(*options) : status;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-host: %s\n", error.what());
    return kCannotStart;
  }
}
