#include "ListEntry.h"

#include <QJsonValue>

#include <cmath>

#include "CodesysTimeConversion.h"
#include "EventlistHandlerDefinitions.h"

namespace Tavroline {

using Keys = EventlistHandlerDefinitions;

ListColumns::ListColumns()
    : m_places{{{Keys::getListColumnNameEventlistId(), 0},
                {Keys::getListColumnNameEventType(), 0},
                {Keys::getListColumnNameIconType(), 0},
                {Keys::getListColumnNameLocalTime(), 0},
                {Keys::getListColumnNameModuleName(), 0},
                {Keys::getListColumnNameDescription(), 0},
                {Keys::getListColumnNameUser(), 0},
                {Keys::getListColumnNameKeywords(), 0},
                {Keys::getListColumnNameAlarmActive(), 0},
                {Keys::getListColumnNameAlarmAcknowledgment(), 0},
                {Keys::getListColumnNameAlarmID(), 0}}} {}

QCborValue ListEntry::value(ListColumns::Column column) {
  ListColumns::Place& place = m_columns[column];
  QCborMap::ConstIterator member = m_members.constBegin() + place.index;
  if (place.index >= m_size || member.key() != place.key) {
    member = m_members.constFind(place.key);
    if (member == m_members.constEnd()) {
      return QCborValue();
    }
    place.index = member - m_members.constBegin();
  }
  return member.value();
}

std::optional<qint64> ListEntry::wholeNumber(ListColumns::Column column) {
  const QCborValue number = value(column);
  if (number.isInteger()) {
    return number.toInteger();
  }
  // A number of another notation, or beyond 64 bits; the latter must not be converted.
  constexpr double kBeyondInt64 = 9223372036854775808.0;
  const double inexact = number.toDouble(kBeyondInt64);
  if (!(inexact >= -kBeyondInt64 && inexact < kBeyondInt64) || inexact != std::floor(inexact)) {
    return std::nullopt;
  }
  return static_cast<qint64>(inexact);
}

int ListEntry::readEventType() {
  const qint64 type = wholeNumber(ListColumns::EventType).value_or(0);
  return type == static_cast<int>(type) ? static_cast<int>(type) : 0;
}

RTS_IEC_ULINT ListEntry::eventlistId() {
  constexpr qint64 kLow16Bits = 0xFFFF;
  return static_cast<RTS_IEC_ULINT>(wholeNumber(ListColumns::EventlistId).value_or(0) & kLow16Bits);
}

const QDateTime& ListEntry::dateTime() {
  time();
  return m_times.dateTime();
}

RTS_IEC_DATE_AND_TIME timestamp(ListEntry& entry) {
  return CodesysTimeConversion::QDateTimeToIECUtcDateTime(entry.dateTime());
}

}  // namespace Tavroline
