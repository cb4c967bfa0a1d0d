// Measures loading and copying a list, and their references. Costs are given per entry.

#include <benchmark/benchmark.h>

#include <QJsonDocument>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ListFixture.h"
#include "Simdjson.h"

namespace {

/** All benchmarks of a list share one fixture. */
template <typename Fixture>
Fixture& sharedList(int entries, const ListTimes& times) {
  static std::map<std::pair<int, const ListTimes*>, std::unique_ptr<Fixture>> lists;
  auto& list = lists[{entries, &times}];
  if (!list) {
    list = std::make_unique<Fixture>(entries, times);
  }
  return *list;
}

/** A step is the copy or its reference. */
template <typename Fixture>
void copy(benchmark::State& state, int entries, const ListTimes& times, int (Fixture::*step)()) {
  Fixture& list = sharedList<Fixture>(entries, times);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize((list.*step)());
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void load(benchmark::State& state, int entries, bool thenCopy) {
  auto& list = sharedList<EventFixture>(entries, kEveryMinute);
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    list.request();
    state.ResumeTiming();
    list.load();
    if (thenCopy) {
      benchmark::DoNotOptimize(list.copy());
    }
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void fromJson(benchmark::State& state, int entries) {
  const QByteArray& json = sharedList<EventFixture>(entries, kEveryMinute).json();
  // Each iteration releases the document of the one before, as a load does.
  QJsonDocument document = QJsonDocument::fromJson(json);
  for ([[maybe_unused]] auto _ : state) {
    document = QJsonDocument::fromJson(json);
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void simdjson(benchmark::State& state, int entries) {
  const QByteArray& json = sharedList<EventFixture>(entries, kEveryMinute).json();
  std::vector<stEventlistEntryType> structures(static_cast<std::size_t>(entries));
  for ([[maybe_unused]] auto _ : state) {
    if (simdjsonToStructures(json, structures.data(), entries) != entries) {
      std::abort();
    }
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

/** Registers a copy and its reference under these names. */
template <typename Fixture>
void registerCopies(const std::string& name, const std::string& reference, int entries,
                    const ListTimes& times) {
  benchmark::RegisterBenchmark(
      name.c_str(), [=, &times](benchmark::State& state) { copy(state, entries, times, &Fixture::copy); });
  benchmark::RegisterBenchmark(reference.c_str(), [=, &times](benchmark::State& state) {
    copy(state, entries, times, &Fixture::copyReference);
  });
}

void registerAll() {
  for (const int entries : {100, 1000, 10000, 100000}) {
    const std::string size = "/" + std::to_string(entries);
    registerCopies<EventFixture>("copy" + size, "copyReference" + size, entries, kEveryMinute);
    benchmark::RegisterBenchmark(("load" + size).c_str(), load, entries, false);
    benchmark::RegisterBenchmark(("loadAndCopy" + size).c_str(), load, entries, true);
    benchmark::RegisterBenchmark(("fromJson" + size).c_str(), fromJson, entries);
    benchmark::RegisterBenchmark(("simdjson" + size).c_str(), simdjson, entries);
  }
  registerCopies<EventFixture>("copy/year", "copyReference/year", kHoursOfAYear, kEveryHour);
  registerCopies<EventFixture>("copy/clockChange", "copyReference/clockChange", 10000, kWeekOfClockChange);
  registerCopies<AlarmFixture>("copyAlarms/10000", "copyAlarmsReference/10000", 10000, kEveryMinute);
}

}  // namespace

int main(int argc, char** argv) {
  registerAll();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
