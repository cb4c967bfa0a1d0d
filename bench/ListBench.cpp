// The list path: load and copy, and the yardsticks beside them. A cost is that of one entry.

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

/** One case per size and spacing serves all benchmarks of it. */
template <typename Case>
Case& sharedCase(int entries, int secondsApart) {
  static std::map<std::pair<int, int>, std::unique_ptr<Case>> cases;
  auto& place = cases[{entries, secondsApart}];
  if (!place) {
    place = std::make_unique<Case>(entries, secondsApart);
  }
  return *place;
}

template <typename Case>
void copy(benchmark::State& state, int entries, int secondsApart) {
  Case& list = sharedCase<Case>(entries, secondsApart);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(list.copy());
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

template <typename Case>
void copyReference(benchmark::State& state, int entries, int secondsApart) {
  Case& list = sharedCase<Case>(entries, secondsApart);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(list.copyReference());
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void load(benchmark::State& state, int entries) {
  auto& list = sharedCase<EventFixture>(entries, kMinute);
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    list.request();
    state.ResumeTiming();
    list.load();
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void loadAndCopy(benchmark::State& state, int entries) {
  auto& list = sharedCase<EventFixture>(entries, kMinute);
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    list.request();
    state.ResumeTiming();
    list.load();
    benchmark::DoNotOptimize(list.copy());
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void fromJson(benchmark::State& state, int entries) {
  const QByteArray& json = sharedCase<EventFixture>(entries, kMinute).json();
  QJsonDocument document =
      QJsonDocument::fromJson(json);  // each turn releases the one before, as a load does
  for ([[maybe_unused]] auto _ : state) {
    document = QJsonDocument::fromJson(json);
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void simdjson(benchmark::State& state, int entries) {
  const QByteArray& json = sharedCase<EventFixture>(entries, kMinute).json();
  std::vector<stEventlistEntryType> structures(static_cast<std::size_t>(entries));
  for ([[maybe_unused]] auto _ : state) {
    if (simdjsonToStructures(json, structures.data(), entries) != entries) {
      std::abort();
    }
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

void enroll() {
  for (const int entries : {100, 1000, 10000, 100000}) {
    const std::string size = "/" + std::to_string(entries);
    benchmark::RegisterBenchmark(("copy" + size).c_str(), copy<EventFixture>, entries, kMinute);
    benchmark::RegisterBenchmark(("copyReference" + size).c_str(), copyReference<EventFixture>, entries,
                                 kMinute);
    benchmark::RegisterBenchmark(("load" + size).c_str(), load, entries);
    benchmark::RegisterBenchmark(("loadAndCopy" + size).c_str(), loadAndCopy, entries);
    benchmark::RegisterBenchmark(("fromJson" + size).c_str(), fromJson, entries);
    benchmark::RegisterBenchmark(("simdjson" + size).c_str(), simdjson, entries);
  }
  benchmark::RegisterBenchmark("copy/year", copy<EventFixture>, kHoursOfAYear, kHour);
  benchmark::RegisterBenchmark("copyReference/year", copyReference<EventFixture>, kHoursOfAYear, kHour);
  benchmark::RegisterBenchmark("copyAlarms/10000", copy<AlarmFixture>, 10000, kMinute);
  benchmark::RegisterBenchmark("copyAlarmsReference/10000", copyReference<AlarmFixture>, 10000, kMinute);
}

}  // namespace

int main(int argc, char** argv) {
  enroll();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
