#pragma once

#include <QtGlobal>
#include <array>
#include <atomic>
#include <utility>

namespace Tavroline {

/** Counts the changes of one list. The hub's thread writes it; any thread reads it without a lock. */
class ListChanges {
 public:
  /** Record the list's generation: a number that the service increases with every change of the list, or 0 if
   * the service does not know the number. The first known generation does not count as a change. [hub] */
  void report(quint64 generation) {
    if (generation == 0 || generation == m_generation) {
      return;
    }
    if (std::exchange(m_generation, generation) != 0) {
      m_count.fetch_add(1, std::memory_order_release);
    }
  }

  /** Number of changes since the library was loaded, modulo 2^32. [any-thread] */
  quint32 count() const { return m_count.load(std::memory_order_acquire); }

  /** Whether count() differs from `seen`, the count at an earlier time. Sets `seen` to the present count.
   * [any-thread] */
  bool changedSince(quint32& seen) const {
    const quint32 before = std::exchange(seen, count());
    return seen != before;
  }

 private:
  quint64 m_generation = 0;  ///< last reported generation; used by the hub's thread alone
  std::atomic<quint32> m_count{0};
};

/** What the list service last reported about both lists. The hub's thread writes it; any thread reads it. */
struct ListState {
  enum Flag { AlarmInList, ActiveAlarmInList, FaultInList, ActiveFaultInList, CentralDetector, FlagCount };

  ListChanges events;
  ListChanges alarms;
  std::array<std::atomic<bool>, FlagCount> flags{};
};

}  // namespace Tavroline
