#include "CallMonitor.h"

#include <cinttypes>
#include <ctime>
#include <stdexcept>

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

CallMonitor::CallMonitor(const ComponentManager& component, bool metering, const std::string& traceFile)
    : m_component(component), m_metering(metering) {
  if (!traceFile.empty()) {
    m_traceFile.reset(std::fopen(traceFile.c_str(), "we"));
    if (!m_traceFile) {
      throw std::runtime_error("cannot open the trace file " + traceFile);
    }
  }
  m_meters.emplace_back("(outside)", 0);
  s_monitor = this;
}

CallMonitor::~CallMonitor() {
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
  if (m_metering || m_traceFile) {
    for (std::size_t i = 0; i < functions.size() && i < CallMeter::kFunctions; ++i) {
      if (functions[i].name == name) {
        return wrapperAt(i, std::make_index_sequence<CallMeter::kFunctions>());
      }
    }
  }
  return m_component.find(name);
}

void CallMonitor::call(std::size_t index, void* parameters) {
  const ComponentManager::Function& function = m_component.functions()[index];
  const std::uint64_t start = now();
  reinterpret_cast<void (*)(void*)>(function.function)(parameters);
  const std::uint64_t nanoseconds = now() - start;
  CallMeter& meter = t_meter != nullptr ? *t_meter : m_meters.front();
  meter.note(index, nanoseconds);
  if (m_traceFile) {
    trace(meter.task(), function.name, nanoseconds, parameters);
  }
}

void CallMonitor::trace(const std::string& task, const std::string& function, std::uint64_t nanoseconds,
                        const void* parameters) {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  tm parts{};
  char seconds[32];
  std::strftime(seconds, sizeof seconds, "%FT%T", gmtime_r(&time.tv_sec, &parts));
  // One write, so that the lines of several tasks do not mix; flushed, so that the last call before a crash
  // can be read.
  std::fprintf(m_traceFile.get(), "%s.%06ldZ %s: %s %s in %" PRIu64 " us\n", seconds, time.tv_nsec / 1000,
               task.c_str(), function.c_str(), parameterText(function, parameters).c_str(),
               nanoseconds / 1000);
  std::fflush(m_traceFile.get());
}
