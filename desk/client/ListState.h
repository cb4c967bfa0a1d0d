#pragma once

#include <QtGlobal>
#include <array>
#include <atomic>

namespace Tavroline {

/**
 * The generation of one list: a number that the service increases with every change of the list.
 *
 * The hub's thread writes it; any thread reads it without a lock.
 */
class Generation {
 public:
  /** Record a reported generation; 0 means unknown and is ignored. [hub] */
  void report(quint64 generation) {
    if (generation == 0) {
      return;
    }
    if (m_current.load(std::memory_order_relaxed) == 0) {
      m_first.store(generation, std::memory_order_relaxed);
    }
    m_current.store(generation, std::memory_order_release);
  }

  /** The generation reported last, and the first one reported since the library was loaded; both 0 while
   * unknown. [any-thread] */
  quint64 current() const { return m_current.load(std::memory_order_acquire); }
  quint64 first() const { return m_first.load(std::memory_order_relaxed); }

 private:
  std::atomic<quint64> m_first{0};
  std::atomic<quint64> m_current{0};
};

/** The state of both lists that the service reported last. The hub's thread writes it; any thread reads it.
 */
struct ListState {
  enum Flag { AlarmInList, ActiveAlarmInList, FaultInList, ActiveFaultInList, CentralDetector, FlagCount };

  Generation events;
  Generation alarms;
  std::array<std::atomic<bool>, FlagCount> flags{};
};

/** The generation of a list that one connector last reported to the component. Each connector has its own, so
 * that each one reports every change. */
class SeenGeneration {
 public:
  /** Starts with the current generation. [any-thread] */
  explicit SeenGeneration(const Generation& generation) : m_seen(generation.current()) {}

  /** @return whether the generation has changed since the last call, or since construction. The first
   * generation that the service reports is not a change. [hook] */
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
