#pragma once

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QJsonObject>
#include <QString>

#include <array>
#include <optional>

#include "CodesysRuntime.h"
#include "CodesysStringCopy.h"
#include "EntryTimes.h"

namespace Tavroline {

/**
 * The columns of the two lists, for the length of one copy. The entries of a list mostly have the same
 * members, so each column is looked up where the entry before had it: 475 ns an entry against 781 ns. Entries
 * are taken as CBOR maps, which share the data of the JSON objects that they were made from.
 */
class ListColumns {
 public:
  enum Column {
    EventlistId,
    EventType,
    IconType,
    LocalTime,
    ModuleName,
    Description,
    User,
    Keywords,
    AlarmActive,
    AlarmAcknowledgment,
    AlarmID,
    Count
  };

  ListColumns();

  /** An entry's member of this column; undefined if the entry does not have it. [plc-task] */
  QCborValue value(const QCborMap& entry, Column column);

 private:
  struct Place {
    QCborValue key;
    int index;  ///< in the last entry that had it
  };
  std::array<Place, Count> m_places;
};

/**
 * Reads the members of one entry of a loaded list while it is tested and copied. Reads strictly: a member of
 * another type than expected counts as missing.
 */
class ListEntry {
 public:
  /** @param columns, times outlive the entry. [plc-task] */
  ListEntry(const QJsonObject& entry, ListColumns& columns, EntryTimes& times)
      : m_members(QCborMap::fromJsonObject(entry)), m_columns(columns), m_times(times) {}

  /** Empty unless it is a text. [plc-task] */
  QString text(ListColumns::Column column) { return value(column).toString(); }

  /** False unless it is a boolean. [plc-task] */
  bool flag(ListColumns::Column column) { return value(column).toBool(); }

  /** 0 unless it is an integral number of 32 bits; read once. [plc-task] */
  int eventType();

  /** The low 16 bits of the entry's number, taken whole; 0 unless it is an integral number. [plc-task] */
  RTS_IEC_ULINT eventlistId();

  /** The local time, read once; valid until the next entry's is read. [plc-task] */
  const EntryTime& time();
  /** The same for the time helper, see EntryTimes::dateTime(). [plc-task] */
  const QDateTime& dateTime();

  /** Empty unless it is an array. [plc-task] */
  QCborArray keywords() { return value(ListColumns::Keywords).toArray(); }

 private:
  QCborValue value(ListColumns::Column column) { return m_columns.value(m_members, column); }

  QCborMap m_members;
  ListColumns& m_columns;
  EntryTimes& m_times;
  std::optional<int> m_eventType;
  const EntryTime* m_time = nullptr;
};

/** Copies a text of a list entry into a field of an IEC structure. [plc-task] */
template <int Capacity>
void copyText(ListEntry& entry, ListColumns::Column column, RTS_IEC_STRING (&field)[Capacity]) {
  copyQStringDataToCStringData(entry.text(column), &field[0], Capacity, false);
}

template <int Capacity>
void copyText(ListEntry& entry, ListColumns::Column column, RTS_IEC_WSTRING (&field)[Capacity],
              bool freeText) {
  copyQStringDataToWStringData(entry.text(column), &field[0], Capacity, freeText);
}

/** Seconds in UTC of the entry's local time, by the device's time helper. [plc-task] */
RTS_IEC_DATE_AND_TIME timestamp(ListEntry& entry);

/** Copies the fields that entries of both lists have, in their order. [plc-task] */
template <typename Entry>
void copyCommonFields(ListEntry& entry, Entry& target) {
  target.iEventType = static_cast<RTS_IEC_INT>(entry.eventType());
  copyText(entry, ListColumns::IconType, target.sIconType);
  target.dtTimestamp = timestamp(entry);
  copyText(entry, ListColumns::ModuleName, target.sModuleName);
  copyText(entry, ListColumns::Description, target.wsDescription, true);
}

}  // namespace Tavroline
