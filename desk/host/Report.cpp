#include "Report.h"

#include <array>
#include <cinttypes>
#include <cstdio>

void Report::printTasks(const std::list<const PeriodicThread*>& threads) {
  std::printf("%-20s  %8s  %8s  %10s\n", "TASK", "CYCLES", "OVERRUNS", "LONGEST us");
  for (const PeriodicThread* thread : threads) {
    const PeriodicThread::Record& record = thread->record();
    std::printf("%-20s  %8" PRIu64 "  %8" PRIu64 "  %10" PRIu64 "\n", thread->name().c_str(), record.cycles,
                record.overruns, record.longestMicroseconds);
  }
}

void Report::printCalls(const CallMonitor& monitor) {
  std::printf("\n%-20s  %-32s  %8s  %8s  %10s\n", "TASK", "FUNCTION", "CALLS", "OVERRUNS", "LONGEST us");
  const auto& functions = monitor.component().functions();
  for (const CallMeter& meter : monitor.meters()) {
    for (std::size_t i = 0; i < functions.size() && i < CallMeter::kFunctions; ++i) {
      const CallMeter::Record& record = meter.record(i);
      if (record.calls == 0) {
        continue;
      }
      std::printf("%-20s  %-32s  %8" PRIu64 "  %8" PRIu64 "  %10" PRIu64 "\n", meter.task().c_str(),
                  functions[i].name.c_str(), record.calls.load(), record.overruns.load(),
                  record.longestNanoseconds / 1000);
    }
  }
}

void Report::printCounters(const std::string& record) {
  std::array<std::uint64_t, 12> n{};
  const auto start = record.find(kCountersMark);
  const int read =
      start == std::string::npos
          ? 0
          : std::sscanf(record.c_str() + start,
                        "Books: accepted %" SCNu64 ", delivered %" SCNu64 ", pending %" SCNu64
                        ", superseded %" SCNu64 ", dropped %" SCNu64 " (rejected %" SCNu64
                        ", ends service %" SCNu64 ", unload %" SCNu64 "), refused %" SCNu64
                        " (queue full %" SCNu64 ", out of memory %" SCNu64 ", unsendable %" SCNu64,
                        &n[0], &n[1], &n[2], &n[3], &n[4], &n[5], &n[6], &n[7], &n[8], &n[9], &n[10], &n[11]);
  if (static_cast<std::size_t>(read) != n.size()) {
    std::puts("\nBOOKS     no record in the log: nothing was handed over");
    return;
  }
  std::printf("\n%-8s  %9s  %9s  %9s  %10s  %9s  %9s\n", "BOOKS", "ACCEPTED", "DELIVERED", "PENDING",
              "SUPERSEDED", "DROPPED", "REFUSED");
  std::printf("%-8s  %9" PRIu64 "  %9" PRIu64 "  %9" PRIu64 "  %10" PRIu64 "  %9" PRIu64 "  %9" PRIu64 "\n",
              "messages", n[0], n[1], n[2], n[3], n[4], n[8]);
  std::printf("dropped   rejected %" PRIu64 ", ends service %" PRIu64 ", unload %" PRIu64 "\n", n[5], n[6],
              n[7]);
  std::printf("refused   queue full %" PRIu64 ", out of memory %" PRIu64 ", unsendable %" PRIu64 "\n", n[9],
              n[10], n[11]);
  if (n[0] != n[1] + n[2] + n[3] + n[4]) {
    std::puts("These books do not balance.");
  }
}
