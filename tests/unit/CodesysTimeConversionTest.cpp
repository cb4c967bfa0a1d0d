#include "CodesysTimeConversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace {

// Every hour until 2106 as local time, digested by FNV-1a: gaps, overlaps and the years beyond a 32-bit
// time_t are the same instants on every machine as on 64-bit x86.
TEST(CodesysTimeConversion, TakesEveryHourAsUtcOrAsWallClockTime) {
  using Row = std::pair<const char*, std::uint64_t>;
  for (const auto& [zone, expected] : {Row{"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", 0xff72e90cebdba54fU},
                                       Row{"CET-1CEST,M3.5.0,M10.5.0/3", 0xe937de448a78d5c7U}}) {
    setenv("TZ", zone, 1);
    tzset();
    std::uint64_t digest = 14695981039346656037U;
    for (std::uint64_t wallClock = 0; wallClock <= UINT32_MAX; wallClock += 3600) {
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
}

}  // namespace
