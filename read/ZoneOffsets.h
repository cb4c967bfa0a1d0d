#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace Tavroline {

/** Days from 1970-01-01 to the first of January; the years 1901 to 2099. [any-thread] */
constexpr std::int64_t daysBeforeYear(int year) {
  return std::int64_t{year - 1970} * 365 + (year - 1969) / 4;
}

/**
 * Offsets of the machine's zone from UTC, for the length of one copy. Knows no dates and no texts. Asks for
 * the offset hour by hour, so it sees every change of a zone whose changes are at least an hour apart, and
 * remembers the periods that it has examined. An object does not notice when the zone itself is changed.
 */
class ZoneOffsets {
 public:
  static constexpr std::int64_t kSecondsPerHour = 3600;
  static constexpr std::int64_t kSecondsPerDay = 24 * kSecondsPerHour;

  /**
   * @param localSeconds local time, in seconds since 1970-01-01 00:00:00 local time; the years 1971 to 2036
   * @return seconds to subtract to get UTC; none where a change of the offset skips or repeats the local
   * time. [plc-task]
   */
  std::optional<std::int32_t> at(std::int64_t localSeconds);

 private:
  /** Where a period ends, as far as it has been examined. Instants in seconds of UTC. */
  struct End {
    std::int64_t examined;  ///< the last instant known to have the offset of the period
    std::int64_t unique;    ///< up to here no other offset gives the same local time
    bool isChange;          ///< the offset changes behind `examined`
  };
  /** Instants of one offset. */
  struct Period {
    std::int32_t offset = 0;
    End first{0, 1, false};
    End last{0, 0, false};

    bool containsUnique(std::int64_t localSeconds) const;
    bool isNear(std::int64_t utcSeconds) const;
    void examine(std::int64_t utcSeconds);
    void extendByADay(End& end, int direction) const;
  };

  Period& periodOf(std::int64_t utcSeconds, std::int32_t offset);

  std::array<Period, 8> m_periods;  ///< the most recently used one first
  bool m_zoneIsRead = false;
};

}  // namespace Tavroline
