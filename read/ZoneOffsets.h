#pragma once

#include <array>
#include <cstdint>
#include <optional>

/**
 * Offsets of the machine's zone from UTC, remembered while one list is copied: where the offset stays the
 * same for some days, or else for a day or an hour, one look at the zone serves all times therein. Knows no
 * dates and no texts. An object serves one call and does not notice when the zone itself is changed.
 */
class ZoneOffsets {
 public:
  static constexpr std::int64_t kSecondsPerHour = 3600;
  static constexpr std::int64_t kSecondsPerDay = 24 * kSecondsPerHour;

  /**
   * @param localSeconds local time, in seconds since 1970-01-01 00:00:00 local time; the years 1971 to 2036
   * @return seconds to subtract to get UTC; none near a change of the offset, where a local time may be
   * skipped or repeated. [plc-task]
   */
  std::optional<std::int32_t> at(std::int64_t localSeconds);

 private:
  /** What is known of the stretch that was last asked for in this place. */
  struct Stretch {
    std::int64_t start = -1;
    std::optional<std::int32_t> offset;
  };
  struct Stretches {
    std::int64_t length;
    std::array<Stretch, 32> places;
  };
  std::array<Stretches, 3> m_levels{{{4 * kSecondsPerDay, {}}, {kSecondsPerDay, {}}, {kSecondsPerHour, {}}}};
};
