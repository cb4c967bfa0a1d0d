#include "CodesysTimeConversion.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace {

struct Row {
  const char* name;
  const char* zone;
  unsigned int wallClock;  ///< seconds since 1970-01-01 00:00:00 local time
  std::int64_t utc;
};

const char kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3", kLordHowe[] = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";

const Row kRows[] = {
    {"skipped: counted from the hour before", kBerlin, 1774751400, 1774751400 - 3600},
    {"skipped by a change of half an hour", kLordHowe, 1791080100, 1791080100 - 37800},
    {"the largest value", kLordHowe, 4294967295, 4294927695},
};

TEST(CodesysTimeConversion, TakesSecondsAsUtcOrAsWallClockTime) {
  for (const Row& row : kRows) {
    setenv("TZ", row.zone, 1);
    tzset();
    const QDateTime local = CodesysTimeConversion::IECDateTimeToQDateTime(row.wallClock);
    EXPECT_EQ(local.toSecsSinceEpoch(), row.utc) << row.name;
    const QDateTime utc = CodesysTimeConversion::IECUtcDateTimeToQDateTime(row.wallClock);
    EXPECT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(utc), row.wallClock) << row.name;
  }
  EXPECT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(QDateTime()), 0U);
}

}  // namespace
