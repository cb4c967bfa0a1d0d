// The calls of every cycle: hook, flag queries, an alarm's unchanged level. With the desk's client, a bus and
// the list service.

#include <benchmark/benchmark.h>

#include <memory>

#include "LiveObjects.h"
#include "LogEntry.h"
#include "LogFixture.h"
#include "ReferenceCalls.h"

namespace {

/** Open readers, event and alarm readers in turn. */
class Readers {
 public:
  explicit Readers(std::int64_t count) : m_opened(static_cast<std::size_t>(count)) {
    for (std::size_t i = 0; i < m_opened.size(); ++i) {
      (i % 2 == 0 ? openalarmlistreadhandle_ext : openeventlistreadhandle_ext)(&m_opened[i]);
    }
  }
  ~Readers() {
    for (std::size_t i = 0; i < m_opened.size(); ++i) {
      closeeventlistreadhandle_struct closed{m_opened[i].hReadHandle};
      (i % 2 == 0 ? closealarmlistreadhandle_ext : closeeventlistreadhandle_ext)(&closed);
    }
  }
  Readers(const Readers&) = delete;
  Readers& operator=(const Readers&) = delete;

  /** An alarm reader in the middle of the others. */
  TavrolineHandle alarmReader() const { return m_opened[m_opened.size() / 4 * 2].hReadHandle; }

 private:
  std::vector<openeventlistreadhandle_struct> m_opened;
};

void runHook(benchmark::State& state) {
  const Readers readers(2 * state.range(0));
  void (*const hook)() = communicationCycle();
  for ([[maybe_unused]] auto _ : state) {
    hook();
  }
}

void runHookReference(benchmark::State& state) {
  ReferenceHook plain(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    plain.run();
  }
}

void flag(benchmark::State& state) {
  const Readers readers(state.range(0));
  isalarminalarmlist_struct query{readers.alarmReader(), 0};
  for ([[maybe_unused]] auto _ : state) {
    isalarminalarmlist_ext(&query);
    benchmark::DoNotOptimize(query.xAlarmInAlarmlist);
  }
}

void flagReference(benchmark::State& state) {
  ReferenceRegistry registry;
  std::vector<std::unique_ptr<ReferenceObject>> objects;
  for (int i = 0; i < state.range(0); ++i) {
    registry.add(objects.emplace_back(std::make_unique<ReferenceObject>()).get());
  }
  haslistchanged_struct query{objects[objects.size() / 2].get(), 0};
  for ([[maybe_unused]] auto _ : state) {
    registry.query(&query);
    benchmark::DoNotOptimize(query.xListChanged);
  }
}

void registry(benchmark::State& state) {
  const Readers readers(state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(Tavroline::LiveObjects::family(readers.alarmReader()));
  }
}

void sameLevel(benchmark::State& state) {
  LogFixture entry(false);
  openalarmlistwritehandle_struct opened{};
  openalarmlistwritehandle_ext(&opened);
  entry.alarm.hWriteHandle = opened.hWriteHandle;
  entry.alarm.iState = TAVROLINE_ON;
  for ([[maybe_unused]] auto _ : state) {
    logalarm_ext(&entry.alarm);
  }
  closealarmlistwritehandle_struct closed{opened.hWriteHandle};
  closealarmlistwritehandle_ext(&closed);
}

void conversions(benchmark::State& state) {
  LogFixture entry(false);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(Tavroline::convertLogEntry(entry.alarm));
  }
}

}  // namespace

BENCHMARK(runHook)->Name("hook")->Arg(1)->Arg(16)->Arg(256);
BENCHMARK(runHookReference)->Name("hookReference")->Arg(1)->Arg(16)->Arg(256);
BENCHMARK(flag)->Arg(1)->Arg(1000);
BENCHMARK(flagReference)->Arg(1)->Arg(1000);
BENCHMARK(registry)->Arg(1)->Arg(1000);
BENCHMARK(sameLevel);
BENCHMARK(conversions);

int main(int argc, char** argv) {
  const BusAndService desk;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
