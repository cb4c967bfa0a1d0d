#include "CodesysTimeConversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace {

constexpr unsigned int kLatest = 0xFFFFFFFF;

TEST(CodesysTimeConversion, GivesUtcSecondsWithinTheirRange) {
  using Row = std::pair<const char*, unsigned int>;
  for (const auto& [text, seconds] :
       {Row{"", 0}, Row{"no time", 0}, Row{"1969-12-31T23:59:59Z", 0}, Row{"1970-01-01T00:00:01.999Z", 1},
        Row{"1970-01-01T02:00:00+01:00", 3600}, Row{"2038-01-19T03:14:08Z", 0x80000000},
        Row{"2106-02-07T06:28:15Z", kLatest}, Row{"2106-02-07T06:28:16Z", kLatest}}) {
    const QDateTime time = QDateTime::fromString(QString::fromUtf8(text), Qt::ISODateWithMs);
    EXPECT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(time), seconds) << text;
  }
}

// Every hour until 2106 as local time, digested by FNV-1a: gaps, overlaps and the years beyond a 32-bit
// time_t are the same instants on every machine as on 64-bit x86.
TEST(CodesysTimeConversion, TakesEveryHourAsUtcOrAsWallClockTime) {
  using Row = std::pair<const char*, std::uint64_t>;
  for (const auto& [zone, expected] : {Row{"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", 0xff72e90cebdba54fU},
                                       Row{"CET-1CEST,M3.5.0,M10.5.0/3", 0xe937de448a78d5c7U}}) {
    setenv("TZ", zone, 1);
    tzset();
    std::uint64_t digest = 14695981039346656037U;
    for (std::uint64_t wallClock = 0; wallClock <= kLatest; wallClock += 3600) {
      const auto value = static_cast<std::uint32_t>(wallClock);
      const QDateTime local = CodesysTimeConversion::IECDateTimeToQDateTime(value);
      digest = (digest ^ static_cast<std::uint64_t>(local.toSecsSinceEpoch())) * 1099511628211U;
      const QDateTime utc = CodesysTimeConversion::IECUtcDateTimeToQDateTime(value);
      ASSERT_EQ(utc.toSecsSinceEpoch(), value);
      ASSERT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(utc), value);
    }
    EXPECT_EQ(digest, expected) << zone;
  }
  EXPECT_EQ(CodesysTimeConversion::IECUtcDateTimeToQDateTime(0).timeSpec(), Qt::UTC);
  const QDateTime summer = CodesysTimeConversion::IECDateTimeToQDateTime(1625097600);
  EXPECT_EQ(summer.toSecsSinceEpoch(), 1625097600 - 7200);
}

}  // namespace
