#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

#include "CodesysTimeConversion.h"

namespace {

constexpr std::uint32_t kHour = 3600;

/** A rule of the zone, and the digest (FNV-1a over the instants) of all hours from 1970 to 2106 taken as
 * local time there, as 64-bit x86 converts them: gaps, overlaps and the years beyond a 32-bit time_t
 * included. */
struct ZoneRow {
  const char* name;
  const char* zone;
  std::uint64_t digest;
};

class LocalTimeTest : public ::testing::TestWithParam<ZoneRow> {};

TEST_P(LocalTimeTest, everyHourUntil2106IsTheSameInstantOnEveryMachine) {
  setenv("TZ", GetParam().zone, 1);
  tzset();
  std::uint64_t digest = 14695981039346656037U;
  for (std::uint64_t wallClock = 0; wallClock <= UINT32_MAX; wallClock += kHour) {
    const auto value = static_cast<std::uint32_t>(wallClock);
    const QDateTime local = CodesysTimeConversion::IECDateTimeToQDateTime(value);
    digest = (digest ^ static_cast<std::uint64_t>(local.toSecsSinceEpoch())) * 1099511628211U;
    const QDateTime utc = CodesysTimeConversion::IECUtcDateTimeToQDateTime(value);
    ASSERT_EQ(utc.toSecsSinceEpoch(), value);
    ASSERT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(utc), value);
  }
  EXPECT_EQ(digest, GetParam().digest);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, LocalTimeTest,
    ::testing::Values(ZoneRow{"north", "CET-1CEST,M3.5.0,M10.5.0/3", 0xe937de448a78d5c7U},
                      ZoneRow{"southByHalfAnHour", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
                              0xff72e90cebdba54fU}),
    [](const auto& row) { return row.param.name; });

}  // namespace
