#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include "CallCheck.h"
#include "ComponentManager.h"
#include "LineFile.h"

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

  /** Replace the calling thread's meter, when the thread changes from one task to another. @return the meter
   * before, null for the first one of the monitor. [any-thread] */
  static CallMeter* exchange(CallMeter* meter);

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
 * Gives the programs wrappers of the external functions, which name the call to the log and, if wanted,
 * check, count, time and trace it. A wrapper does not change what a call does. Only the first
 * CallMeter::kFunctions functions have one.
 *
 * Only one object may exist at a time, since an external function carries no context; it outlives the
 * programs.
 */
class CallMonitor {
 public:
  struct Options {
    bool metering = false;  ///< count and time calls
    bool checking = false;  ///< report misuse; see CallCheck
    std::string traceFile;  ///< gets a line for each call and each line of the log; empty for no trace
  };

  /**
   * @param component must outlive this object
   * @param options throws std::runtime_error when the trace file cannot be opened. [init]
   */
  CallMonitor(const ComponentManager& component, const Options& options);
  ~CallMonitor();
  CallMonitor(const CallMonitor&) = delete;
  CallMonitor& operator=(const CallMonitor&) = delete;

  /** The wrapper of the external function of that name, null if none is registered. [any-thread] */
  ExternalFunction find(const std::string& name) const;

  /** Adds a meter for a task; it is valid as long as the monitor. [init] */
  CallMeter& addTask(const std::string& name, std::uint32_t periodMilliseconds);

  /** Report the handles that are open now; the programs have ended. @return the misuses found in this run, 0
   * without checking. [init] */
  std::uint64_t finishCheck();

  /** The meters, the first one for calls outside all tasks. [init] */
  const std::list<CallMeter>& meters() const { return m_meters; }
  /** The component; records are in the order of its functions. [any-thread] */
  const ComponentManager& component() const { return m_component; }

 private:
  template <std::size_t index>
  static void wrapper(void* parameters);
  template <std::size_t... index>
  static ExternalFunction wrapperAt(std::size_t wanted, std::index_sequence<index...>);

  void call(std::size_t index, void* parameters);
  /** Call, count, time and trace. */
  void measure(CallMeter& meter, std::size_t index, void* parameters);

  const ComponentManager& m_component;
  bool m_metering;
  std::optional<CallCheck> m_check;
  std::optional<LineFile> m_trace;
  std::list<CallMeter> m_meters;
};
