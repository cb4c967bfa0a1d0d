#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>

#include "ZoneOffsets.h"

/**
 * The times of the entries of one list, and two bounds to compare them with, for the length of one copy. A
 * time in the form in which the services write it is read by hand; every other form, and every time near a
 * change of the zone's offset, is Qt's to read and to compare, so that all results are those of
 * QDateTime::fromString() with Qt::ISODateWithMs.
 */
class EntryTimes {
 public:
  /** The time of one entry: an instant, or what Qt has read. */
  struct Time {
    std::optional<std::int64_t> utcMilliseconds;
    QDateTime asRead;  ///< where the instant is not set
  };

  /** @param upperBound, lowerBound latest and earliest time, both inclusive; a null one is no bound.
   * [plc-task] */
  EntryTimes(const QDateTime& upperBound, const QDateTime& lowerBound);

  /** Read a time; anything that is none gives an invalid one. [plc-task] */
  Time read(const QString& text);

  /** Whether the time lies within the bounds. [plc-task] */
  bool isWithinBounds(const Time& time) const;

 private:
  QDateTime m_upperBound;
  QDateTime m_lowerBound;
  std::int64_t m_upperMilliseconds;
  std::int64_t m_lowerMilliseconds;
  bool m_boundsAreInstants;
  ZoneOffsets m_offsets;
};

/**
 * Milliseconds since 1970-01-01 00:00:00 local time of a local time "yyyy-MM-ddThh:mm:ss.zzz" in the years
 * 1971 to 2036; none for any other text. [any-thread]
 */
std::optional<std::int64_t> localMilliseconds(const QString& text);
