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
 * members, so each column is tried first where the entry before had it: 250 instructions a member, found by
 * QCborMap::constFind() 730. Entries are taken as CBOR maps, which share the data of the JSON objects that
 * they were made from.
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

  struct Place {
    QCborValue key;
    qsizetype index;  ///< in the last entry that had it
  };

  ListColumns();

  /** Where to try this column; the entry that finds it elsewhere updates it. [plc-task] */
  Place& operator[](Column column) { return m_places[column]; }

 private:
  std::array<Place, Count> m_places;
};

/**
 * Reads the members of one entry of a loaded list while it is tested and copied. Reads strictly: a member of
 * another type than expected counts as missing.
 */
class ListEntry {
 public:
  /**
   * Reads the event type at once: each copied entry needs it. Read before the time it saves 160 of 920 ns an
   * alarm with 10,000 of them, on a busy machine.
   * @param columns, times outlive the entry. [plc-task]
   */
  ListEntry(const QJsonObject& entry, ListColumns& columns, EntryTimes& times)
      : m_members(QCborMap::fromJsonObject(entry)),
        m_size(m_members.size()),
        m_columns(columns),
        m_times(times),
        m_eventType(readEventType()) {}

  /** Empty unless it is a text. [plc-task] */
  QString text(ListColumns::Column column) { return value(column).toString(); }

  /** False unless it is a boolean. [plc-task] */
  bool flag(ListColumns::Column column) { return value(column).toBool(); }

  /** 0 unless it is an integral number of 32 bits. [plc-task] */
  int eventType() const { return m_eventType; }

  /** The low 16 bits of the entry's number, taken whole; 0 unless it is an integral number. [plc-task] */
  RTS_IEC_ULINT eventlistId();

  /** The local time, read once; valid until the next entry's is read. [plc-task] */
  const EntryTime& time() {
    if (!m_time) {
      m_time = &m_times.read(text(ListColumns::LocalTime));
    }
    return *m_time;
  }
  /** The same for the time helper, see EntryTimes::dateTime(). [plc-task] */
  const QDateTime& dateTime();

  /** Empty unless it is an array. [plc-task] */
  QCborArray keywords() { return value(ListColumns::Keywords).toArray(); }

 private:
  int readEventType();
  /** Undefined if the entry does not have this member. */
  QCborValue value(ListColumns::Column column);
  /** None unless it is an integral number of 64 bits, in any notation. */
  std::optional<qint64> wholeNumber(ListColumns::Column column);

  QCborMap m_members;
  qsizetype m_size;
  ListColumns& m_columns;
  EntryTimes& m_times;
  int m_eventType;
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
