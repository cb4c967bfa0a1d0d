#include "CodesysTimeConversion.h"

#include <cstdint>
#include <limits>

namespace {
constexpr int kSecondsPerHour = 3600;
}

// The conversions use QDateTime, whose seconds have 64 bits: time_t has 32 bits on some targets.

QDateTime CodesysTimeConversion::IECUtcDateTimeToQDateTime(unsigned int value) {
  return QDateTime::fromSecsSinceEpoch(value, Qt::UTC);
}

QDateTime CodesysTimeConversion::IECDateTimeToQDateTime(unsigned int value) {
  const QDateTime utc = IECUtcDateTimeToQDateTime(value);
  QDateTime local(utc.date(), utc.time(), Qt::LocalTime);
  if (local.isValid()) {
    return local;
  }
  // A wall-clock time that a zone change skips does not exist; use the hour before it plus one hour.
  const QDateTime before = utc.addSecs(-kSecondsPerHour);
  return QDateTime(before.date(), before.time(), Qt::LocalTime).addSecs(kSecondsPerHour);
}

unsigned int CodesysTimeConversion::QDateTimeToIECUtcDateTime(const QDateTime& dateTime) {
  if (!dateTime.isValid()) {
    return 0;
  }
  constexpr std::int64_t kLatest = std::numeric_limits<std::uint32_t>::max();
  return static_cast<unsigned int>(qBound<std::int64_t>(0, dateTime.toSecsSinceEpoch(), kLatest));
}
