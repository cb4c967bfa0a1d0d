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

QCborValue ListColumns::value(const QCborMap& entry, Column column) {
  Place& place = m_places[column];
  const int size = static_cast<int>(entry.size());
  const QCborMap::ConstIterator first = entry.constBegin();
  int index = place.index < size ? place.index : 0;
  for (int tried = 0; tried < size; ++tried) {
    const QCborMap::ConstIterator member = first + index;
    if (member.key() == place.key) {
      place.index = index;
      return member.value();
    }
    index = index + 1 < size ? index + 1 : 0;
  }
  return QCborValue();
}

int ListEntry::eventType() {
  if (!m_eventType) {
    m_eventType = value(ListColumns::EventType).toJsonValue().toInt();
  }
  return *m_eventType;
}

RTS_IEC_ULINT ListEntry::eventlistId() {
  constexpr RTS_IEC_ULINT kLow16Bits = 0xFFFF;
  const QCborValue number = value(ListColumns::EventlistId);
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

const EntryTime& ListEntry::time() {
  if (!m_time) {
    m_time = &m_times.read(text(ListColumns::LocalTime));
  }
  return *m_time;
}

const QDateTime& ListEntry::dateTime() {
  time();
  return m_times.dateTime();
}

RTS_IEC_DATE_AND_TIME timestamp(ListEntry& entry) {
  return CodesysTimeConversion::QDateTimeToIECUtcDateTime(entry.dateTime());
}

}  // namespace Tavroline
