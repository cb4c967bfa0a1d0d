// tavroline-sim: a whole device in one thread, on a virtual clock.
#include <sqlite3.h>

#include <QFile>
#include <QHashFunctions>

#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>

#include "Course.h"
#include "HostLog.h"
#include "Interposed.h"
#include "QtMessages.h"
#include "SimOptions.h"
#include "SimReport.h"
#include "Terminal.h"

namespace {

constexpr Nanoseconds kFirstDay = 1767225600 * kSecond;  // 2026-01-01 00:00:00 UTC
constexpr unsigned kSwitchOneIn = 64;                    // places where a thread may be interrupted

/** Draw from the seed all that is random otherwise. */
void seed(const SimOptions& options) {
  const auto number = static_cast<unsigned>(options.seed) | 1U;
  Interposed::seedIdentifiers(options.seed);
  sqlite3_initialize();
  sqlite3_test_control(SQLITE_TESTCTRL_PRNG_SEED, number, nullptr);
  qSetGlobalQHashSeed(0);
  Scheduler::instance().seed(options.seed, options.faults == "none" ? 0 : kSwitchOneIn);
  Scheduler::instance().wallClock = kFirstDay;
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/virtual", 1);  // connect() leads to the broker
}

void run(const SimOptions& options) {
  seed(options);
  const std::int64_t logBegin = QFile(QString::fromStdString(options.logFile)).size();
  if (!options.logFile.empty()) {
    HostLog::toFile(options.logFile);
  }
  const QtMessages qtMessages;
  Course course(options);
  for (std::size_t i = 0; options.showFaults && i < course.plan().size(); ++i) {
    std::printf("fault %zu: %s\n", i + 1, course.plan()[i].text().c_str());
  }
  HostLog::countRepeated(options.recordFolder.empty());
  const bool complete = course.run();
  SimReport report(course);
  if (complete) {
    report.keepRaised();
  }
  course.stopPrograms();
  SimReport::printCalls(course.monitor());
  report.unload();
  HostLog::countRepeated(false);
  if (!complete) {
    course.outliveUnload();
    report.keepRaised();
  }
  report.keepLists();
  if (options.recordFolder.empty()) {
    report.printLists();
  } else {
    report.record(options.recordFolder);
  }
  std::printf("\n%" PRIu64 " messages, digest %016" PRIx64 "\n", course.broker().delivered(),
              report.digest(options.logFile, logBegin));
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  int exitCode = SimOptions::ExitDone;
  try {
    const std::optional<SimOptions> options = SimOptions::parse(argc, argv, exitCode);
    if (options) {
      run(*options);
    }
  } catch (const ReaderGone&) {
    return exitCode;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-sim: %s\n", error.what());
    return SimOptions::ExitUsage;
  }
  return exitCode;
}
