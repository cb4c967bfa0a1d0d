#pragma once

#include <QDateTime>

/** DATE_AND_TIME (unsigned 32-bit seconds since 1970-01-01 00:00:00, up to 2106) and QDateTime. [any-thread]
 */
struct CodesysTimeConversion {
  /** `value` as UTC. The component never passes 0, which means "no time" in a log call. */
  static QDateTime IECUtcDateTimeToQDateTime(unsigned int value);

  /** `value` as wall-clock time of the machine's zone. 0 is possible: an application sets a bound of the
   * time filter with it. */
  static QDateTime IECDateTimeToQDateTime(unsigned int value);

  /** @return seconds since 1970-01-01 00:00:00 UTC; 0 for an invalid time or one before 1970, 0xFFFFFFFF for
   * one beyond 2106. */
  static unsigned int QDateTimeToIECUtcDateTime(const QDateTime& dateTime);
};
