#include "EntryFields.h"

#include <QDateTime>

#include <cmath>

#include "CodesysTimeConversion.h"

RTS_IEC_DATE_AND_TIME EntryFields::timestamp(const QJsonObject& entry) {
  return CodesysTimeConversion::QDateTimeToIECUtcDateTime(QDateTime::fromString(
      entry.value(EventlistHandlerDefinitions::getListColumnNameLocalTime()).toString(), Qt::ISODateWithMs));
}

RTS_IEC_ULINT EntryFields::eventlistId(const QJsonObject& entry) {
  const QJsonValue value = entry.value(EventlistHandlerDefinitions::getListColumnNameEventlistId());
  constexpr double kBeyondInt64 = 9223372036854775808.0;
  const double number = value.toDouble(kBeyondInt64);
  // The bounds come first: a double beyond 64 bits must not be converted.
  if (!(number >= -kBeyondInt64 && number < kBeyondInt64) || number != std::floor(number)) {
    return 0;
  }
  return static_cast<RTS_IEC_ULINT>(value.toVariant().toLongLong()) & 0xFFFFu;
}
