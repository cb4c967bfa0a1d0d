#pragma once

#include <QtGlobal>
#include <array>
#include <atomic>

namespace Tavroline {

/**
 * The last state of both lists that the service has reported, and how a connector finds what is new to it.
 *
 * The hub's thread writes, any thread reads; nothing is locked. Each connector compares with what it has
 * reported itself, so that none consumes another's change and a repeated signal changes nothing.
 */
class Generation {
 public:
  /** A generation has been reported; 0 tells nothing. [hub] */
  void report(quint64 generation) {
    if (generation == 0) {
      return;
    }
    if (m_current.load(std::memory_order_relaxed) == 0) {
      m_first.store(generation, std::memory_order_relaxed);
    }
    m_current.store(generation, std::memory_order_release);
  }

  /** The present one, 0 while unknown; and the first that was ever seen. [any-thread] */
  quint64 current() const { return m_current.load(std::memory_order_acquire); }
  quint64 first() const { return m_first.load(std::memory_order_relaxed); }

 private:
  std::atomic<quint64> m_first{0};
  std::atomic<quint64> m_current{0};
};

struct ListState {
  enum Flag { AlarmInList, ActiveAlarmInList, FaultInList, ActiveFaultInList, CentralDetector, FlagCount };

  Generation events;
  Generation alarms;
  std::array<std::atomic<bool>, FlagCount> flags{};
};

/** One connector's view of a list's generation. */
class SeenGeneration {
 public:
  /** Starts from what is known at this moment. [any-thread] */
  explicit SeenGeneration(const Generation& generation) : m_seen(generation.current()) {}

  /** True once after each change since; the first generation that the hub ever sees is none. [hook] */
  bool changed(const Generation& generation) {
    const quint64 current = generation.current();
    if (m_seen == 0) {
      m_seen = current == 0 ? 0 : generation.first();
    }
    if (current == m_seen) {
      return false;
    }
    m_seen = current;
    return true;
  }

 private:
  quint64 m_seen;
};

}  // namespace Tavroline
