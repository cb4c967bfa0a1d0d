#pragma once

#include <poll.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

/** A time or a duration on the virtual clock, in nanoseconds. */
using Nanoseconds = std::int64_t;
constexpr Nanoseconds kMillisecond = 1000000;
constexpr Nanoseconds kSecond = 1000 * kMillisecond;
constexpr Nanoseconds kNever = INT64_MAX;

/**
 * Runs all threads of the process as fibres of one thread, on a virtual clock. A fibre runs until it waits;
 * the seed decides which of those that can run is next. If none can, the clock moves on to the next time that
 * one waits for. Reading the clock takes 100 ns of it, everything else no time.
 *
 * Interposed.cpp defines the functions of the C library through which a program reaches this class.
 */
class Scheduler {
 public:
  struct Fibre;

  /** The process's only scheduler, constructed by the first call. */
  static Scheduler& instance();

  /** Begin a run: the seed, and one in how many possible changes of fibre takes place, 0 for none. */
  void seed(std::uint64_t seed, unsigned switchOneIn);

  /** A new fibre, which runs `body` once. @param preemptible whether switchMaybe() may interrupt it */
  Fibre* start(std::string name, std::function<void()> body, bool preemptible);
  /** Wait until it has ended, and free it. */
  void join(Fibre* fibre);

  Fibre* current() { return m_current; }
  /** The fibre that the process began with. */
  Fibre* first() { return m_fibres.front().get(); }
  static const std::string& name(const Fibre* fibre);
  static void rename(Fibre* fibre, const char* name);
  /** Let it not run before this time, as if the kernel had stopped it. */
  static void holdBack(Fibre* fibre, Nanoseconds until);
  /** The preemptible fibres that wait for an event now: tasks and the hook between two cycles. */
  std::vector<Fibre*> periodicThreads() const;

  /** Read the clock. */
  Nanoseconds now() { return m_now += kReading; }
  /** The wall clock's distance to it; faults change it. */
  Nanoseconds wallClock = 0;

  /** Wait until that time, or for wake() of `event`. @return whether it was woken */
  bool waitUntil(Nanoseconds due, const void* event = nullptr);
  void wake(const void* event, bool all);
  /** As poll(), until that time, or until wake() of `event`. */
  int pollUntil(pollfd* files, nfds_t count, Nanoseconds due, const void* event = nullptr);
  /** A descriptor may have become ready: let those who poll() look again. */
  void noteActivity() { ++m_activity; }

  /** Let another fibre run. */
  void pass() { waitUntil(m_now); }
  /** The present fibre is where a kernel could interrupt it: let another run now and then. */
  static void switchMaybe() {
    if (sm_switchOneIn != 0) {
      instance().interrupt();
    }
  }

  /** Fail the k-th allocation of the fibres of that name from now on; 0 for none. */
  void failAllocation(std::string name, unsigned k);
  /** Whether the present allocation has to fail. */
  static bool isAllocationFailing() { return sm_failIn != 0 && instance().countAllocation(); }

  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;

 private:
  static constexpr Nanoseconds kReading = 100;

  Scheduler();
  static void enter();
  void interrupt();
  bool countAllocation();
  bool canRun(Fibre& fibre);
  Fibre& choose();
  void leave(Fibre& next);

  std::vector<std::unique_ptr<Fibre>> m_fibres;
  std::vector<Fibre*> m_candidates;
  Fibre* m_current;
  Nanoseconds m_now = kSecond;
  std::uint64_t m_activity = 0;
  std::mt19937_64 m_random;
  // Static, because memory is allocated before the scheduler exists.
  static inline unsigned sm_switchOneIn = 0;
  static inline unsigned sm_failIn = 0;
  std::string m_failing;
};
