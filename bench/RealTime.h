#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "ComponentManager.h"

/**
 * @file
 * What the measurements under real-time scheduling share: tasks of class SCHED_FIFO, a hog, and the built
 * library, loaded as a runtime loads it. All tasks and hogs run on one core, the last one of this process.
 */

/** Prints a value for scripts/bench. */
void print(const std::string& name, double value);

/** Whether the system grants SCHED_FIFO; otherwise prints that the measurement is skipped. */
bool mayUseFifo();
/** Locks the memory of this process, present and future; prints that the measurement is skipped if refused.
 */
bool lockMemory();

/** Moves a thread to the core: the calling one with 0. Threads and processes that it starts inherit that. */
void moveToCore(int thread);

/** Runs `work` on the core in a thread of class SCHED_FIFO; returns when it has ended. */
void runAsTask(int priority, const std::function<void()>& work);

/** Number of the thread that the library starts when it is used first; waits until it runs. @throws
 * std::runtime_error if the library has not started its thread */
int hubThread();

/** What a task that runs every millisecond measures in each cycle, in microseconds. */
class Cycles {
 public:
  /** Runs `count` cycles of a task. `measure(cycle, lateness)` returns the value. */
  void run(int priority, int count, const std::function<double(int, double)>& measure);

  double quantile(double part);
  /** The number of values above one millisecond. */
  int slow() const;

 private:
  std::vector<double> m_values;
};

/** The time that `call` takes, in microseconds. */
double timeOf(const std::function<void()>& call);

/** A task of low real-time priority that keeps the core busy for a part of each period, until destroyed. */
class Hog {
 public:
  Hog(std::chrono::milliseconds busy, std::chrono::milliseconds period);
  ~Hog();
  Hog(const Hog&) = delete;
  Hog& operator=(const Hog&) = delete;

  int starts() const { return m_starts; }

 private:
  std::atomic<bool> m_stop{false};
  std::atomic<int> m_starts{0};
  std::thread m_thread;
};

/** The built library. */
class Library {
 public:
  Library();

  /** The external function `name`_ext. */
  template <typename Structure>
  auto find(const std::string& name) const {
    return reinterpret_cast<void (*)(Structure*)>(m_component.find(name + "_ext"));
  }

 private:
  ComponentManager m_component;
};
