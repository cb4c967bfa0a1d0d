#include "CallMonitor.h"

#include <ctime>
#include <utility>

#include "CallScope.h"
#include "HostLog.h"
#include "ParameterText.h"

namespace {

CallMonitor* s_monitor = nullptr;
thread_local CallMeter* t_meter = nullptr;

std::uint64_t now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1000000000U + static_cast<std::uint64_t>(time.tv_nsec);
}

}  // namespace

void CallMeter::use() {
  t_meter = this;
}

CallMeter* CallMeter::exchange(CallMeter* meter) {
  return std::exchange(t_meter, meter);
}

void CallMeter::note(std::size_t function, std::uint64_t nanoseconds) {
  Record& record = m_records[function];
  record.calls.fetch_add(1, std::memory_order_relaxed);
  if (m_period != 0 && nanoseconds > m_period) {
    record.overruns.fetch_add(1, std::memory_order_relaxed);
  }
  std::uint64_t longest = record.longestNanoseconds.load(std::memory_order_relaxed);
  while (nanoseconds > longest && !record.longestNanoseconds.compare_exchange_weak(longest, nanoseconds)) {
  }
}

CallMonitor::CallMonitor(const ComponentManager& component, const Options& options)
    : m_component(component), m_metering(options.metering) {
  if (options.checking) {
    m_check.emplace();
  }
  if (!options.traceFile.empty()) {
    HostLog::alsoTo(&m_trace.emplace(options.traceFile, "we", "trace file"));
  }
  m_meters.emplace_back("(outside)", 0);
  s_monitor = this;
}

CallMonitor::~CallMonitor() {
  HostLog::alsoTo(nullptr);
  s_monitor = nullptr;
}

CallMeter& CallMonitor::addTask(const std::string& name, std::uint32_t periodMilliseconds) {
  return m_meters.emplace_back(name, periodMilliseconds);
}

template <std::size_t index>
void CallMonitor::wrapper(void* parameters) {
  s_monitor->call(index, parameters);
}

template <std::size_t... index>
ExternalFunction CallMonitor::wrapperAt(std::size_t wanted, std::index_sequence<index...>) {
  static const ExternalFunction kWrappers[] = {reinterpret_cast<ExternalFunction>(wrapper<index>)...};
  return kWrappers[wanted];
}

ExternalFunction CallMonitor::find(const std::string& name) const {
  const auto& functions = m_component.functions();
  for (std::size_t i = 0; i < functions.size() && i < CallMeter::kFunctions; ++i) {
    if (functions[i].name == name) {
      return wrapperAt(i, std::make_index_sequence<CallMeter::kFunctions>());
    }
  }
  return m_component.find(name);
}

std::uint64_t CallMonitor::finishCheck() {
  return m_check ? m_check->finish() : 0;
}

void CallMonitor::call(std::size_t index, void* parameters) {
  const std::string& function = m_component.functions()[index].name;
  CallMeter& meter = t_meter != nullptr ? *t_meter : m_meters.front();
  const CallScope scope(meter.task(), function);
  if (m_check) {
    m_check->before(function, parameters);
  }
  measure(meter, index, parameters);
  if (m_check) {
    m_check->after(meter.task(), function, parameters);
  }
}

void CallMonitor::measure(CallMeter& meter, std::size_t index, void* parameters) {
  const ComponentManager::Function& row = m_component.functions()[index];
  const auto function = reinterpret_cast<void (*)(void*)>(row.function);
  if (!m_metering && !m_trace) {
    function(parameters);
    return;
  }
  const std::uint64_t start = now();
  function(parameters);
  const std::uint64_t nanoseconds = now() - start;
  meter.note(index, nanoseconds);
  if (m_trace) {
    m_trace->write(meter.task() + ": " + row.name + ' ' + parameterText(row.name, parameters) + " in " +
                   std::to_string(nanoseconds / 1000) + " us");
  }
}
