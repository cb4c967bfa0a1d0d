#include "ZoneOffsets.h"

#include <algorithm>
#include <ctime>

namespace Tavroline {

namespace {

/** Instants that are further apart never have the same local time: no offset exceeds 25 hours. */
constexpr std::int64_t kMargin = 50 * ZoneOffsets::kSecondsPerHour;

/**
 * Offset at an instant. localtime_r() takes 31 ns, QDateTime 280 ns and, where TZ is not set, 4,400 ns.
 * Computed from the local time, because tm_gmtoff does not count leap seconds.
 */
std::int32_t offsetAt(std::int64_t utcSeconds) {
  const auto instant = static_cast<std::time_t>(utcSeconds);
  std::tm local{};
  localtime_r(&instant, &local);
  const std::int64_t days = daysBeforeYear(local.tm_year + 1900) + local.tm_yday;
  return static_cast<std::int32_t>(days * ZoneOffsets::kSecondsPerDay +
                                   local.tm_hour * ZoneOffsets::kSecondsPerHour +
                                   std::int64_t{local.tm_min} * 60 + local.tm_sec - utcSeconds);
}

}  // namespace

std::optional<std::int32_t> ZoneOffsets::at(std::int64_t localSeconds) {
  const auto known = std::find_if(m_periods.begin(), m_periods.end(), [localSeconds](const Period& period) {
    return period.containsUnique(localSeconds);
  });
  if (known != m_periods.end()) {
    std::rotate(m_periods.begin(), known, known + 1);
    return m_periods.front().offset;
  }
  if (!m_zoneIsRead) {
    tzset();  // localtime_r() need not read the zone
    m_zoneIsRead = true;
  }
  // A local time that exists has an offset that leads to an instant of this offset. The first guess may lie
  // on the other side of a change, the second does not.
  std::int32_t offset = offsetAt(localSeconds);
  for (int guess = 0; guess < 2; ++guess) {
    const std::int64_t utcSeconds = localSeconds - offset;
    const std::int32_t actual = offsetAt(utcSeconds);
    if (actual == offset) {
      Period& period = periodOf(utcSeconds, offset);
      period.examine(utcSeconds);
      return period.containsUnique(localSeconds) ? std::optional(offset) : std::nullopt;
    }
    offset = actual;
  }
  return std::nullopt;
}

/** The period of this instant, moved to the front; a new one replaces the one not used for longest. */
ZoneOffsets::Period& ZoneOffsets::periodOf(std::int64_t utcSeconds, std::int32_t offset) {
  const auto known = std::find_if(m_periods.begin(), m_periods.end(), [&](const Period& period) {
    return period.offset == offset && period.isNear(utcSeconds);
  });
  if (known == m_periods.end()) {
    m_periods.back() = {offset, {utcSeconds, utcSeconds + 1, false}, {utcSeconds, utcSeconds - 1, false}};
    std::rotate(m_periods.begin(), m_periods.end() - 1, m_periods.end());
  } else {
    std::rotate(m_periods.begin(), known, known + 1);
  }
  return m_periods.front();
}

bool ZoneOffsets::Period::containsUnique(std::int64_t localSeconds) const {
  const std::int64_t utcSeconds = localSeconds - offset;
  return first.unique <= utcSeconds && utcSeconds <= last.unique;
}

/** Whether the period includes the instant or ends near enough to be extended to it. */
bool ZoneOffsets::Period::isNear(std::int64_t utcSeconds) const {
  return first.examined - (first.isChange ? 0 : kMargin) <= utcSeconds &&
         utcSeconds <= last.examined + (last.isChange ? 0 : kMargin);
}

/** Extends the period around an instant until it is known whether its local time is unique. */
void ZoneOffsets::Period::examine(std::int64_t utcSeconds) {
  while (!first.isChange && first.unique > utcSeconds) {
    extendByADay(first, -1);
  }
  while (!last.isChange && last.unique < utcSeconds) {
    extendByADay(last, 1);
  }
}

/** Moves an end back (direction -1) or on (1), hour by hour, up to a change. */
void ZoneOffsets::Period::extendByADay(End& end, int direction) const {
  for (int hour = 0; hour < 24; ++hour) {
    std::int64_t other = end.examined + direction * kSecondsPerHour;
    const std::int32_t otherOffset = offsetAt(other);
    if (otherOffset != offset) {
      while (end.examined + direction != other) {
        const std::int64_t middle = end.examined + (other - end.examined) / 2;
        (offsetAt(middle) == offset ? end.examined : other) = middle;
      }
      // Where the clock is set back, the local times before the change repeat after it.
      end.unique = end.examined - std::int64_t{direction} * std::max(0, direction * (offset - otherOffset));
      end.isChange = true;
      return;
    }
    end.examined = other;
  }
  end.unique = end.examined - direction * kMargin;
}

}  // namespace Tavroline
