#pragma once

#include <QJsonObject>
#include <QString>

#include "CodesysRuntime.h"
#include "CodesysStringCopy.h"
#include "EventlistHandlerDefinitions.h"

/**
 * Members of a list entry into the fields of an IEC structure. Members are read strictly: one of another type
 * than expected counts as missing. Nothing beside the fields named is touched. [plc-task]
 */
namespace EntryFields {

/** Seconds in UTC of the entry's local time; 0 when it has no valid time. */
RTS_IEC_DATE_AND_TIME timestamp(const QJsonObject& entry);

/** The low 16 bits of the entry's number, taken whole; 0 unless it is an integral number. */
RTS_IEC_ULINT eventlistId(const QJsonObject& entry);

template <int Capacity>
void copyText(const QJsonObject& entry, const QString& key, RTS_IEC_STRING (&field)[Capacity]) {
  copyQStringDataToCStringData(entry.value(key).toString(), &field[0], Capacity, false);
}

template <int Capacity>
void copyText(const QJsonObject& entry, const QString& key, RTS_IEC_WSTRING (&field)[Capacity],
              bool freeText) {
  copyQStringDataToWStringData(entry.value(key).toString(), &field[0], Capacity, freeText);
}

/** The fields that entries of both lists have, in their order. */
template <typename Entry>
void copyCommonFields(const QJsonObject& entry, Entry& target) {
  using Keys = EventlistHandlerDefinitions;
  target.iEventType = static_cast<RTS_IEC_INT>(entry.value(Keys::getListColumnNameEventType()).toInt());
  copyText(entry, Keys::getListColumnNameIconType(), target.sIconType);
  target.dtTimestamp = timestamp(entry);
  copyText(entry, Keys::getListColumnNameModuleName(), target.sModuleName);
  copyText(entry, Keys::getListColumnNameDescription(), target.wsDescription, true);
}

}  // namespace EntryFields
