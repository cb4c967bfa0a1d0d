#include "EntryTimes.h"

#include <limits>

namespace {

constexpr int kFormLength = 23;
constexpr int kMillisecondsPerSecond = 1000;

/** The number in the digits from `digits` on; one that is none spoils `areDigits`. */
template <int Count>
int number(const QChar* digits, bool& areDigits) {
  const int digit = digits[Count - 1].unicode() - '0';
  areDigits &= 0 <= digit && digit <= 9;
  if constexpr (Count == 1) {
    return digit;
  } else {
    return number<Count - 1>(digits, areDigits) * 10 + digit;
  }
}

bool is(QChar character, char expected) {
  return character.unicode() == expected;
}

constexpr bool isLeapYear(int year) {
  return year % 4 == 0;  // without exception in the years served
}

int daysBeforeMonth(int year, int month) {
  static constexpr int kDays[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
  return kDays[month - 1] + static_cast<int>(month > 2 && isLeapYear(year));
}

/** Days from 1970-01-01 to the first of January. */
constexpr int daysBeforeYear(int year) {
  return (year - 1970) * 365 + (year - 1969) / 4;
}

bool isInstant(const QDateTime& bound) {
  return bound.isNull() || bound.isValid();
}

}  // namespace

std::optional<std::int64_t> localMilliseconds(const QString& text) {
  if (text.size() != kFormLength) {
    return std::nullopt;
  }
  const QChar* const form = text.constData();
  if (!is(form[4], '-') || !is(form[7], '-') || !is(form[10], 'T') || !is(form[13], ':') ||
      !is(form[16], ':') || !is(form[19], '.')) {
    return std::nullopt;
  }
  bool areDigits = true;
  const int year = number<4>(form, areDigits);
  const int month = number<2>(form + 5, areDigits);
  const int day = number<2>(form + 8, areDigits);
  const int hour = number<2>(form + 11, areDigits);
  const int minute = number<2>(form + 14, areDigits);
  const int second = number<2>(form + 17, areDigits);
  const int millisecond = number<3>(form + 20, areDigits);
  if (!areDigits || year < 1971 || year > 2036 || month < 1 || month > 12 || day < 1 || hour > 23 ||
      minute > 59 || second > 59) {
    return std::nullopt;
  }
  const int dayOfYear = daysBeforeMonth(year, month) + day;
  if (dayOfYear > daysBeforeMonth(year, month + 1)) {
    return std::nullopt;
  }
  const std::int64_t days = daysBeforeYear(year) + dayOfYear - 1;
  return (days * ZoneOffsets::kSecondsPerDay + hour * ZoneOffsets::kSecondsPerHour +
          std::int64_t{minute} * 60 + second) *
             kMillisecondsPerSecond +
         millisecond;
}

EntryTimes::EntryTimes(const QDateTime& upperBound, const QDateTime& lowerBound)
    : m_upperBound(upperBound),
      m_lowerBound(lowerBound),
      m_upperMilliseconds(upperBound.isNull() ? std::numeric_limits<std::int64_t>::max()
                                              : upperBound.toMSecsSinceEpoch()),
      m_lowerMilliseconds(lowerBound.isNull() ? std::numeric_limits<std::int64_t>::min()
                                              : lowerBound.toMSecsSinceEpoch()),
      m_boundsAreInstants(isInstant(upperBound) && isInstant(lowerBound)) {}

EntryTimes::Time EntryTimes::read(const QString& text) {
  if (m_boundsAreInstants) {
    if (const std::optional<std::int64_t> local = localMilliseconds(text)) {
      if (const std::optional<std::int32_t> offset = m_offsets.at(*local / kMillisecondsPerSecond)) {
        return {*local - std::int64_t{*offset} * kMillisecondsPerSecond, QDateTime()};
      }
    }
  }
  return {std::nullopt, QDateTime::fromString(text, Qt::ISODateWithMs)};
}

bool EntryTimes::isWithinBounds(const Time& time) const {
  if (time.utcMilliseconds) {
    return m_lowerMilliseconds <= *time.utcMilliseconds && *time.utcMilliseconds <= m_upperMilliseconds;
  }
  return (m_upperBound.isNull() || !(m_upperBound < time.asRead)) &&
         (m_lowerBound.isNull() || !(time.asRead < m_lowerBound));
}
