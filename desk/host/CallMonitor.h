#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "ComponentManager.h"

/** Number and times of the calls of one task, by function. Any thread may write it. */
class CallMeter {
 public:
  /** Maximum number of functions that are counted and traced: the first ones of the component. */
  static constexpr std::size_t kFunctions = 64;

  struct Record {
    std::atomic<std::uint64_t> calls{0};
    std::atomic<std::uint64_t> overruns{0};  ///< calls that alone took longer than the task's period
    std::atomic<std::uint64_t> longestNanoseconds{0};
  };

  /** @param periodMilliseconds 0 for calls outside of tasks, which cannot overrun */
  CallMeter(std::string task, std::uint32_t periodMilliseconds)
      : m_task(std::move(task)), m_period(std::uint64_t{periodMilliseconds} * 1000000) {}

  /** From now on count here the calls that the calling thread makes. [plc-task] */
  void use();

  /** Count one call. [any-thread] */
  void note(std::size_t function, std::uint64_t nanoseconds);

  const std::string& task() const { return m_task; }
  const Record& record(std::size_t function) const { return m_records[function]; }

 private:
  std::string m_task;
  std::uint64_t m_period;  ///< nanoseconds
  std::array<Record, kFunctions> m_records;
};

/**
 * Gives the programs the external functions, or, if metering or tracing is on, wrappers that count, time and
 * trace each call of the first CallMeter::kFunctions functions. A wrapper does not change what a call does.
 *
 * Only one object may exist at a time, since an external function carries no context; it outlives the
 * programs.
 */
class CallMonitor {
 public:
  /**
   * @param component must outlive this object
   * @param metering whether calls are counted and timed
   * @param traceFile gets one line for each call; empty for no trace. Throws std::runtime_error when the file
   * cannot be opened. [init]
   */
  CallMonitor(const ComponentManager& component, bool metering, const std::string& traceFile);
  ~CallMonitor();
  CallMonitor(const CallMonitor&) = delete;
  CallMonitor& operator=(const CallMonitor&) = delete;

  /** The external function of that name or its wrapper, null if none is registered. [any-thread] */
  ExternalFunction find(const std::string& name) const;

  /** Adds a meter for a task; it is valid as long as the monitor. [init] */
  CallMeter& addTask(const std::string& name, std::uint32_t periodMilliseconds);

  /** The meters, the first one for calls outside all tasks. [init] */
  const std::list<CallMeter>& meters() const { return m_meters; }
  /** The component; records are in the order of its functions. [any-thread] */
  const ComponentManager& component() const { return m_component; }

 private:
  struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  template <std::size_t index>
  static void wrapper(void* parameters);
  template <std::size_t... index>
  static ExternalFunction wrapperAt(std::size_t wanted, std::index_sequence<index...>);

  void call(std::size_t index, void* parameters);
  void trace(const std::string& task, const std::string& function, std::uint64_t nanoseconds,
             const void* parameters);

  const ComponentManager& m_component;
  bool m_metering;
  std::unique_ptr<FILE, FileCloser> m_traceFile;
  std::list<CallMeter> m_meters;
};
