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
  /** out [number]: the low 16 bits of the service's number */
  RTS_IEC_ULINT uliEventlistId __attribute__((aligned(8)));
  RTS_IEC_INT iEventType;                        /**< out [code]: 0 alarm, 1 audit trail, 2 fault, 3 event */
  RTS_IEC_STRING sIconType[TAVROLINE_TEXT_80];   /**< out [UTF-8]: name of the icon */
  RTS_IEC_DATE_AND_TIME dtTimestamp;             /**< out [s UTC]: 0 when the entry has no valid time */
  RTS_IEC_STRING sModuleName[TAVROLINE_TEXT_80]; /**< out [UTF-8]: which module it concerns */
  RTS_IEC_WSTRING wsDescription[TAVROLINE_TEXT_255]; /**< out [UTF-16]: in the handle's language */
  RTS_IEC_WSTRING wsUser[TAVROLINE_TEXT_80];         /**< out [UTF-16]: the user who caused it */
} stEventlistEntryType;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: an event-list reader */
  RTS_IEC_INT iResult;         /**< out [code]: 0, 1 or 2 */
} loadcompleteeventlist_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: an event-list reader */
  /** in [count]: entries wanted, handed to the service; 0: all; read only when a load starts */
  RTS_IEC_UINT uiNumberOfEntries;
  RTS_IEC_INT iResult; /**< out [code]: 0, 1 or 2 */
} loadpartofeventlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;       /**< in [handle]: an event-list reader */
  stEventlistEntryType* pastEntries; /**< in [address]: first element of the caller's array */
  RTS_IEC_DINT diMaxEntries;         /**< in [count]: its elements; 0 or less copies nothing */
  RTS_IEC_INT iResult;               /**< out [code]: 0 or 2 */
  RTS_IEC_DINT diNumberOfEntries;    /**< out [count]: elements filled */
} stGetEventlistEntriesType;

typedef struct {
  stGetEventlistEntriesType* pstRequest; /**< in [address]: the parameters */
} geteventlistentries_struct;

/**
 * One step of loading the complete list.
 * @result iResult 1 while a request runs, this reader's or another one's; 0 once the list is stored
 * @failure structure null: nothing written; handle refused or request failed: iResult 2, the list loaded
 * before stays; all logged
 * @blocks briefly, for the event-list readers
 * [plc-task]
 */
TAVROLINE_EXPORT void loadcompleteeventlist_ext(loadcompleteeventlist_struct* parameters);

/**
 * One step of loading a part of the list: the given number of entries, which the service selects.
 * @result iResult 1 while a request runs, this reader's or another one's; 0 once the list is stored
 * @failure structure null: nothing written; handle refused or request failed: iResult 2, the list loaded
 * before stays; all logged
 * @blocks briefly, for the event-list readers
 * [plc-task]
 */
TAVROLINE_EXPORT void loadpartofeventlist_ext(loadpartofeventlist_struct* parameters);

/**
 * Copy the entries of the last loaded list that pass the handle's filter, in list order.
 * @result iResult 0, diNumberOfEntries and that many elements; the array's other elements stay as they are
 * @failure structure or request null: nothing written; handle refused or array null: iResult 2,
 * diNumberOfEntries unchanged; all logged
 * @blocks briefly, for the event-list readers; the copying itself holds no lock
 * [plc-task]
 */
TAVROLINE_EXPORT void geteventlistentries_ext(geteventlistentries_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
