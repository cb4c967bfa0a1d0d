#include "EntryFields.h"

#include <QDateTime>
#include <QVariant>

#include <cmath>

#include "CodesysTimeConversion.h"

RTS_IEC_DATE_AND_TIME EntryFields::timestamp(const QJsonObject& entry) {
  return CodesysTimeConversion::QDateTimeToIECUtcDateTime(QDateTime::fromString(
      entry.value(EventlistHandlerDefinitions::getListColumnNameLocalTime()).toString(), Qt::ISODateWithMs));
}

RTS_IEC_ULINT EntryFields::eventlistId(const QJsonObject& entry) {
  const QJsonValue value = entry.value(EventlistHandlerDefinitions::getListColumnNameEventlistId());
  const QVariant number = value.toVariant();
  // Qt before 5.15 holds every number as a double, later ones those that are not integral or beyond 64 bits;
  // the latter must not be converted.
  if (number.userType() != QMetaType::LongLong) {
    constexpr double kBeyondInt64 = 9223372036854775808.0;
    const double inexact = value.toDouble(kBeyondInt64);
    if (!(inexact >= -kBeyondInt64 && inexact < kBeyondInt64) || inexact != std::floor(inexact)) {
      return 0;
    }
  }
  return static_cast<RTS_IEC_ULINT>(number.toLongLong()) & 0xFFFFu;
}
