#pragma once

#include <QCborMap>
#include <QCborValue>

#include <array>

/**
 * The columns of the two lists, for the length of one copy. The entries of a list mostly have the same
 * members, so each column is looked for where it stood in the entry before. Entries are taken as CBOR maps,
 * which share the data of the JSON objects that they come from.
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

  /** An entry's member of this column; undefined when there is none. [plc-task] */
  QCborValue value(const QCborMap& entry, Column column);

 private:
  struct Place {
    QCborValue key;
    int index;  ///< in the last entry that had it
  };
  std::array<Place, Count> m_places;
};
