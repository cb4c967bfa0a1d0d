#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

/**
 * A thread that calls one function at a fixed period: a PLC task or the communication cycle. A cycle that
 * ends after its period is counted as an overrun; periods that have passed by then are skipped.
 */
class PeriodicThread {
 public:
  /** Counts of cycles; complete once join() has returned. */
  struct Record {
    std::uint64_t cycles = 0;
    std::uint64_t overruns = 0;
    std::uint64_t longestMicroseconds = 0;  ///< the longest single cycle
  };

  /** Start the thread. @param periodMilliseconds at least 1. [init] */
  PeriodicThread(std::string name, std::uint32_t periodMilliseconds, std::function<void()> cycle);
  ~PeriodicThread();
  PeriodicThread(const PeriodicThread&) = delete;
  PeriodicThread& operator=(const PeriodicThread&) = delete;

  /** Make the present cycle the last one. Returns at once. [any-thread] */
  void requestStop();

  /** Wait, without a limit, until the present cycle has ended. Call requestStop() first. [init] */
  void join();

  const std::string& name() const { return m_name; }
  const Record& record() const { return m_record; }

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  /** Sleep until that time. @return false if the thread must end */
  bool waitUntil(Clock::time_point due);

  std::string m_name;
  Clock::duration m_period;
  std::function<void()> m_cycle;
  std::mutex m_mutex;
  std::condition_variable m_wake;
  bool m_stop = false;  ///< under the mutex
  Record m_record;
  std::thread m_thread;
};
