#pragma once

#include "CodesysRuntime.h"
#include "CodesysStringCopy.h"
#include "ListEntry.h"

/**
 * Members of a list entry into the fields of an IEC structure. Nothing beside the fields named is touched.
 * [plc-task]
 */
namespace EntryFields {

/** Seconds in UTC of the entry's local time; 0 when it has no valid time. */
RTS_IEC_DATE_AND_TIME timestamp(ListEntry& entry);

/** The low 16 bits of the entry's number, taken whole; 0 unless it is an integral number. */
RTS_IEC_ULINT eventlistId(ListEntry& entry);

template <int Capacity>
void copyText(ListEntry& entry, ListColumns::Column column, RTS_IEC_STRING (&field)[Capacity]) {
  copyQStringDataToCStringData(entry.text(column), &field[0], Capacity, false);
}

template <int Capacity>
void copyText(ListEntry& entry, ListColumns::Column column, RTS_IEC_WSTRING (&field)[Capacity],
              bool freeText) {
  copyQStringDataToWStringData(entry.text(column), &field[0], Capacity, freeText);
}

/** The fields that entries of both lists have, in their order. */
template <typename Entry>
void copyCommonFields(ListEntry& entry, Entry& target) {
  target.iEventType = static_cast<RTS_IEC_INT>(entry.eventType());
  copyText(entry, ListColumns::IconType, target.sIconType);
  target.dtTimestamp = timestamp(entry);
  copyText(entry, ListColumns::ModuleName, target.sModuleName);
  copyText(entry, ListColumns::Description, target.wsDescription, true);
}

}  // namespace EntryFields
