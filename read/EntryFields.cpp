#include "EntryFields.h"

#include <QDateTime>
#include <QJsonValue>

#include <cmath>

#include "CodesysTimeConversion.h"

RTS_IEC_DATE_AND_TIME EntryFields::timestamp(ListEntry& entry) {
  const EntryTimes::Time& time = entry.time();
  return CodesysTimeConversion::QDateTimeToIECUtcDateTime(
      time.utcMilliseconds ? QDateTime::fromMSecsSinceEpoch(*time.utcMilliseconds, Qt::UTC) : time.asRead);
}

RTS_IEC_ULINT EntryFields::eventlistId(ListEntry& entry) {
  constexpr RTS_IEC_ULINT kLow16Bits = 0xFFFF;
  const QCborValue number = entry.value(ListColumns::EventlistId);
  if (number.isInteger()) {
    return static_cast<RTS_IEC_ULINT>(number.toInteger()) & kLow16Bits;
  }
  // A number of another notation, or beyond 64 bits; the latter must not be converted.
  constexpr double kBeyondInt64 = 9223372036854775808.0;
  const double inexact = number.toJsonValue().toDouble(kBeyondInt64);
  if (!(inexact >= -kBeyondInt64 && inexact < kBeyondInt64) || inexact != std::floor(inexact)) {
    return 0;
  }
  return static_cast<RTS_IEC_ULINT>(static_cast<qint64>(inexact)) & kLow16Bits;
}
