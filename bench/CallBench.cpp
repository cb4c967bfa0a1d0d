// The calls of every cycle: hook, flag queries, an alarm's unchanged level. Real client, with bus and
// service.

#include <benchmark/benchmark.h>

#include <memory>

#include "CallYardsticks.h"
#include "LiveObjects.h"
#include "LogCase.h"
#include "LogEntry.h"

namespace {

/** The library's hook, as a runtime gets it. */
void (*hook())() {
  static ComponentInitRecord record{};
  ComponentEntry(&record);
  return [] { record.pfHookFunction(TAVROLINE_HOOK_COMM_CYCLE, 0, 0); };
}

/** Readers of both lists, as many of each. */
class Readers {
 public:
  explicit Readers(int count) : m_events(static_cast<std::size_t>(count)), m_alarms(m_events.size()) {
    for (auto& opened : m_events)
      openeventlistreadhandle_ext(&opened);
    for (auto& opened : m_alarms)
      openalarmlistreadhandle_ext(&opened);
  }
  ~Readers() {
    for (auto& opened : m_events) {
      closeeventlistreadhandle_struct closed{opened.hReadHandle};
      closeeventlistreadhandle_ext(&closed);
    }
    for (auto& opened : m_alarms) {
      closealarmlistreadhandle_struct closed{opened.hReadHandle};
      closealarmlistreadhandle_ext(&closed);
    }
  }
  Readers(const Readers&) = delete;
  Readers& operator=(const Readers&) = delete;

  TavrolineHandle alarmReader() const { return m_alarms[m_alarms.size() / 2].hReadHandle; }

 private:
  std::vector<openeventlistreadhandle_struct> m_events;
  std::vector<openalarmlistreadhandle_struct> m_alarms;
};

void runHook(benchmark::State& state) {
  const Readers readers(static_cast<int>(state.range(0)));
  void (*const run)() = hook();
  for ([[maybe_unused]] auto _ : state)
    run();
}

void runHookPlainly(benchmark::State& state) {
  PlainHook plain(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto _ : state)
    plain.run();
}

void flag(benchmark::State& state) {
  const Readers readers(static_cast<int>(state.range(0)));
  isalarminalarmlist_struct query{readers.alarmReader(), 0};
  for ([[maybe_unused]] auto _ : state) {
    isalarminalarmlist_ext(&query);
    benchmark::DoNotOptimize(query.xAlarmInAlarmlist);
  }
}

void flagPlainly(benchmark::State& state) {
  PlainRegistry registry;
  std::vector<std::unique_ptr<PlainObject>> objects;
  for (int i = 0; i < state.range(0); ++i)
    registry.add(objects.emplace_back(std::make_unique<PlainObject>()).get());
  haslistchanged_struct query{objects[objects.size() / 2].get(), 0};
  for ([[maybe_unused]] auto _ : state) {
    registry.query(&query);
    benchmark::DoNotOptimize(query.xListChanged);
  }
}

void registry(benchmark::State& state) {
  const Readers readers(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto _ : state)
    benchmark::DoNotOptimize(LiveObjects::family(readers.alarmReader()));
}

void sameLevel(benchmark::State& state) {
  LogCase entry(false);
  openalarmlistwritehandle_struct opened{};
  openalarmlistwritehandle_ext(&opened);
  entry.alarm.hWriteHandle = opened.hWriteHandle;
  entry.alarm.iState = 1;
  for ([[maybe_unused]] auto _ : state)
    logalarm_ext(&entry.alarm);
  closealarmlistwritehandle_struct closed{opened.hWriteHandle};
  closealarmlistwritehandle_ext(&closed);
}

void conversions(benchmark::State& state) {
  LogCase entry(false);
  for ([[maybe_unused]] auto _ : state)
    benchmark::DoNotOptimize(convertLogEntry(entry.alarm));
}

}  // namespace

BENCHMARK(runHook)->Arg(1)->Arg(16)->Arg(256);
BENCHMARK(runHookPlainly)->Arg(1)->Arg(16)->Arg(256);
BENCHMARK(flag)->Arg(1)->Arg(1000);
BENCHMARK(flagPlainly)->Arg(1)->Arg(1000);
BENCHMARK(registry)->Arg(1)->Arg(1000);
BENCHMARK(sameLevel);
BENCHMARK(conversions);

int main(int argc, char** argv) {
  const BusAndService desk;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
