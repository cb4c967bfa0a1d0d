#include "EntryTimes.h"

namespace Tavroline {

namespace {

constexpr int kFormLength = 23;
constexpr int kMillisecondsPerSecond = 1000;

/** Parses Count decimal digits; clears `areDigits` if one of them is not a digit. */
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

bool equals(QChar character, char expected) {
  return character.unicode() == expected;
}

constexpr bool isLeapYear(int year) {
  return year % 4 == 0;  // without exception in the years served
}

int daysBeforeMonth(int year, int month) {
  static constexpr int kDays[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
  return kDays[month - 1] + static_cast<int>(month > 2 && isLeapYear(year));
}

}  // namespace

std::optional<LocalTime> localTime(const QString& text) {
  if (text.size() != kFormLength) {
    return std::nullopt;
  }
  const QChar* const form = text.constData();
  if (!equals(form[4], '-') || !equals(form[7], '-') || !equals(form[10], 'T') || !equals(form[13], ':') ||
      !equals(form[16], ':') || !equals(form[19], '.')) {
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
  return LocalTime{days * ZoneOffsets::kSecondsPerDay + hour * ZoneOffsets::kSecondsPerHour +
                       std::int64_t{minute} * 60 + second,
                   millisecond};
}

TimeBound::TimeBound(const QDateTime& bound)
    : m_bound(bound), m_isSet(!bound.isNull()), m_utcMilliseconds(m_isSet ? bound.toMSecsSinceEpoch() : 0) {}

const EntryTime& EntryTimes::read(const QString& text) {
  m_time.instant = m_byHand ? instantOf(text) : std::nullopt;
  if (!m_time.instant) {
    m_time.parsed = QDateTime::fromString(text, Qt::ISODateWithMs);
  }
  return m_time;
}

std::optional<EntryTime::Instant> EntryTimes::instantOf(const QString& text) {
  const std::optional<LocalTime> local = localTime(text);
  if (!local) {
    return std::nullopt;
  }
  const std::optional<std::int32_t> offset = m_offsets.at(local->seconds);
  if (!offset) {
    return std::nullopt;
  }
  return EntryTime::Instant{(local->seconds - *offset) * kMillisecondsPerSecond + local->milliseconds,
                            *offset};
}

const QDateTime& EntryTimes::dateTime() {
  if (!m_time.instant) {
    return m_time.parsed;
  }
  const auto& [utcMilliseconds, offset] = *m_time.instant;
  if (m_dateTime.offsetFromUtc() == offset) {
    m_dateTime.setMSecsSinceEpoch(utcMilliseconds);
  } else {
    m_dateTime = QDateTime::fromMSecsSinceEpoch(utcMilliseconds, Qt::OffsetFromUTC, offset);
  }
  return m_dateTime;
}

}  // namespace Tavroline
