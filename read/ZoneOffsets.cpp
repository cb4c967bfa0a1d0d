#include "ZoneOffsets.h"

#include <QDateTime>

namespace {

/**
 * More than any zone has been set back at once in the years served: seven hours. And no zone has had two
 * changes that cancel out within the longest stretch and its margins: the closest lie seven days apart.
 */
constexpr std::int64_t kMargin = 8 * ZoneOffsets::kSecondsPerHour;

/** Offset at an instant. Not offsetFromUtc(), which converts the local time back and may miss a repeated one.
 */
std::int64_t offsetAt(std::int64_t utcSeconds) {
  const QDateTime local = QDateTime::fromSecsSinceEpoch(utcSeconds, Qt::LocalTime);
  return QDateTime(local.date(), local.time(), Qt::UTC).toSecsSinceEpoch() - utcSeconds;
}

/** The offset of every local time in the stretch, if it is the same for a margin on both sides. */
std::optional<std::int32_t> commonOffset(std::int64_t localStart, std::int64_t length) {
  const QDateTime start = QDateTime::fromSecsSinceEpoch(localStart, Qt::UTC);
  // Which of two readings this takes does not matter: beside a change the offsets below differ.
  const std::int64_t utcStart = QDateTime(start.date(), start.time(), Qt::LocalTime).toSecsSinceEpoch();
  const std::int64_t offset = localStart - utcStart;
  if (offsetAt(utcStart - kMargin) != offset || offsetAt(utcStart + length + kMargin) != offset) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(offset);
}

}  // namespace

std::optional<std::int32_t> ZoneOffsets::at(std::int64_t localSeconds) {
  for (Stretches& level : m_levels) {
    const std::int64_t number = localSeconds / level.length;
    const std::int64_t start = number * level.length;
    Stretch& stretch = level.places[static_cast<std::size_t>(number) % level.places.size()];
    if (stretch.start != start) {
      stretch = {start, commonOffset(start, level.length)};
    }
    if (stretch.offset) {
      return stretch.offset;
    }
  }
  return std::nullopt;
}
