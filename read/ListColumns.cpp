#include "ListColumns.h"

#include "EventlistHandlerDefinitions.h"

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
