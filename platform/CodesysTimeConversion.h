#pragma once

#include <QDateTime>

/** DATE_AND_TIME (unsigned 32-bit seconds since 1970-01-01 00:00:00) and date-times, up to 2106. [any-thread]
 */
struct CodesysTimeConversion {
  /** The count taken as UTC; 0 is 1970-01-01 00:00:00 UTC. */
  static QDateTime IECUtcDateTimeToQDateTime(unsigned int value);

  /** The count taken as wall-clock time of the machine's zone; 0 is 1970-01-01 00:00:00 local time. */
  static QDateTime IECDateTimeToQDateTime(unsigned int value);

  /** Seconds in UTC; 0 for an invalid time or one before 1970, 0xFFFFFFFF for one beyond 2106. */
  static unsigned int QDateTimeToIECUtcDateTime(const QDateTime& dateTime);
};
