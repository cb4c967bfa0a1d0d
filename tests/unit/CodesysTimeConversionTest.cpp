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

TEST(CodesysTimeConversion, TakesTheCountAsUtcOrAsWallClockTime) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  using Row =
      std::pair<unsigned int, int>;  // the last of them but two lies in the hour that the change skips
  for (const auto& [value, offset] : {Row{0, 3600}, Row{1609459200, 3600}, Row{1625097600, 7200},
                                      Row{1616898600, 3600}, Row{2147483648U, 3600}, Row{kLatest, 3600}}) {
    const QDateTime utc = CodesysTimeConversion::IECUtcDateTimeToQDateTime(value);
    EXPECT_EQ(utc.toSecsSinceEpoch(), value);
    EXPECT_EQ(utc.timeSpec(), Qt::UTC);
    EXPECT_EQ(CodesysTimeConversion::QDateTimeToIECUtcDateTime(utc), value);
    const QDateTime local = CodesysTimeConversion::IECDateTimeToQDateTime(value);
    EXPECT_TRUE(local.isValid()) << value;
    EXPECT_EQ(local.toSecsSinceEpoch(), std::int64_t{value} - offset) << value;
  }
}

}  // namespace
