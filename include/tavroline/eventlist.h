/** @file
 * Loading the event list step by step and copying its filtered entries. hReadHandle takes an event-list read
 * handle.
 *
 * Call a load function once per cycle while iResult is 1; after 0 copy the entries, as often as wanted and
 * with different filters, until the next load.
 */
#ifndef TAVROLINE_EVENTLIST_H
#define TAVROLINE_EVENTLIST_H

#include "tavroline/conventions.h"

#ifdef __cplusplus
extern "C" {
#endif

/** One entry of the event list as IEC code receives it; 856 bytes, alignment 8 on every ABI. */
typedef struct {
  RTS_IEC_ULINT uliEventlistId __attribute__((aligned(8))); /**< the low 16 bits of the service's number */
  RTS_IEC_INT iEventType;                                   /**< 0 alarm, 1 audit trail, 2 fault, 3 event */
  RTS_IEC_STRING sIconType[TAVROLINE_TEXT_80];
  RTS_IEC_DATE_AND_TIME dtTimestamp; /**< UTC; 0 when the entry has no valid time */
  RTS_IEC_STRING sModuleName[TAVROLINE_TEXT_80];
  RTS_IEC_WSTRING wsDescription[TAVROLINE_TEXT_255];
  RTS_IEC_WSTRING wsUser[TAVROLINE_TEXT_80];
} stEventlistEntryType;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  RTS_IEC_INT iResult;         /**< out: 0, 1 or 2 */
} loadcompleteeventlist_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  /** in: newest entries wanted, 0 means all; counts only when a load starts */
  RTS_IEC_UINT uiNumberOfEntries;
  RTS_IEC_INT iResult; /**< out: 0, 1 or 2 */
} loadpartofeventlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;       /**< in */
  stEventlistEntryType* pastEntries; /**< in: first element of the caller's array */
  RTS_IEC_DINT diMaxEntries;         /**< in: its number of elements; 0 or less copies nothing */
  RTS_IEC_INT iResult;               /**< out: 0 or 2 */
  RTS_IEC_DINT diNumberOfEntries; /**< out: elements filled; unchanged when the handle or the array is null */
} stGetEventlistEntriesType;

typedef struct {
  stGetEventlistEntriesType* pstRequest; /**< in */
} geteventlistentries_struct;

/** One step of loading the complete list. [plc-task] */
TAVROLINE_EXPORT void loadcompleteeventlist_ext(loadcompleteeventlist_struct* parameters);

/** One step of loading the newest entries. [plc-task] */
TAVROLINE_EXPORT void loadpartofeventlist_ext(loadpartofeventlist_struct* parameters);

/** Copy the entries of the last loaded list that pass the handle's filter, in list order. [plc-task] */
TAVROLINE_EXPORT void geteventlistentries_ext(geteventlistentries_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
