#include "CodesysTimeConversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace {

constexpr unsigned int kLatest = 0xFFFFFFFF;

struct ToIecRow {
  const char* time;
  unsigned int seconds;
};

TEST(CodesysTimeConversion, GivesUtcSecondsWithinTheirRange) {
  const ToIecRow rows[] = {{"", 0},
                           {"no time", 0},
                           {"1969-12-31T23:59:59Z", 0},
                           {"1970-01-01T00:00:01.999Z", 1},
                           {"1970-01-01T02:00:00+01:00", 3600},
                           {"2038-01-19T03:14:08Z", 0x80000000},
                           {"2106-02-07T06:28:15Z", kLatest},
                           {"2106-02-07T06:28:16Z", kLatest},
                           {"2200-01-01T00:00:00Z", kLatest}};
  for (const ToIecRow& row : rows) {
    const QDateTime time = QDateTime::fromString(QString::fromUtf8(row.time), Qt::ISODateWithMs);
    EXPECT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(time), row.seconds) << row.time;
  }
}

TEST(CodesysTimeConversion, TakesTheCountAsUtcOrAsWallClockTime) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  struct {
    unsigned int value;
    std::int64_t localInstant;
  } const rows[] = {{0, -3600},                        // 0 is a time like any other
                    {1609459200, 1609459200 - 3600},   // winter
                    {1625097600, 1625097600 - 7200},   // summer
                    {1616898600, 1616898600 - 3600},   // in the hour that the change to summer time skips
                    {2147483648U, 2147483648 - 3600},  // beyond a signed count
                    {kLatest, std::int64_t{kLatest} - 3600}};
  for (const auto& row : rows) {
    const QDateTime utc = CodesysTimeConversion::IECUtcDateTimeToQDateTime(row.value);
    EXPECT_EQ(utc.toSecsSinceEpoch(), row.value);
    EXPECT_EQ(utc.timeSpec(), Qt::UTC);
    EXPECT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(utc), row.value);
    const QDateTime local = CodesysTimeConversion::IECDateTimeToQDateTime(row.value);
    EXPECT_TRUE(local.isValid()) << row.value;
    EXPECT_EQ(local.toSecsSinceEpoch(), row.localInstant) << row.value;
  }
}

}  // namespace
