#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
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
  void requestStop();

  /** Wait for the end after requestStop(): the present cycle, however long it takes. [init] */
  void join();

  const std::string& name() const { return m_name; }
  const Record& record() const { return m_record; }

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  /** Sleep until that time. @return false when the thread has to end. */
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
