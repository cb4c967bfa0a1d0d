#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

/**
 * A thread that calls one function at a fixed period, as PLC tasks and the communication cycle do. A cycle
 * that takes longer than its period is an overrun: counted, and the periods that it missed are left out.
 */
class PeriodicThread {
 public:
  /** What has happened; complete once join() has returned. */
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

  /** Let the present cycle be the last. Returns at once. [any-thread] */
  void requestStop() { m_stop = true; }

  /** Wait for the end after requestStop(): at most one period and one cycle. [init] */
  void join();

  const std::string& name() const { return m_name; }
  const Record& record() const { return m_record; }

 private:
  void run();

  std::string m_name;
  std::uint64_t m_period;  ///< nanoseconds
  std::function<void()> m_cycle;
  std::atomic<bool> m_stop{false};
  Record m_record;
  std::thread m_thread;
};
