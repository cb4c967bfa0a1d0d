/** @file
 * Loading and copying the alarm list, its two state filters and its summary flags. hReadHandle takes an
 * alarm-list read handle; loading and copying go as for the event list.
 */
#ifndef TAVROLINE_ALARMLIST_H
#define TAVROLINE_ALARMLIST_H

#include "tavroline/conventions.h"

#ifdef __cplusplus
extern "C" {
#endif

/** One entry of the alarm list as IEC code receives it; 768 bytes. */
typedef struct {
  RTS_IEC_BOOL xAlarmAcknowledgment;
  RTS_IEC_BOOL xAlarmActive;
  RTS_IEC_STRING sAlarmID[TAVROLINE_TEXT_80]; /**< the identifier that an acknowledgement names */
  RTS_IEC_INT iEventType;                     /**< 0 alarm, 2 fault */
  RTS_IEC_STRING sIconType[TAVROLINE_TEXT_80];
  RTS_IEC_DATE_AND_TIME dtTimestamp; /**< UTC; 0 when the entry has no valid time */
  RTS_IEC_STRING sModuleName[TAVROLINE_TEXT_80];
  RTS_IEC_WSTRING wsDescription[TAVROLINE_TEXT_255];
} stAlarmlistEntryType;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  RTS_IEC_INT iResult;         /**< out: 0, 1 or 2 */
} loadcompletealarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;       /**< in */
  stAlarmlistEntryType* pastEntries; /**< in: first element of the caller's array */
  RTS_IEC_DINT diMaxEntries;         /**< in: its number of elements; 0 or less copies nothing */
  RTS_IEC_INT iResult;               /**< out: 0 or 2 */
  RTS_IEC_DINT diNumberOfEntries; /**< out: elements filled; unchanged when the handle or the array is null */
} stGetAlarmlistEntriesType;

typedef struct {
  stGetAlarmlistEntriesType* pstRequest; /**< in */
} getalarmlistentries_struct;

typedef struct {
  TavrolineHandle hReadHandle;        /**< in */
  RTS_IEC_BOOL xCentralDetectorState; /**< out */
} getcentraldetectorstate_struct;

typedef struct {
  TavrolineHandle hReadHandle;    /**< in */
  RTS_IEC_BOOL xAlarmInAlarmlist; /**< out */
} isalarminalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;          /**< in */
  RTS_IEC_BOOL xActiveAlarmInAlarmlist; /**< out */
} isactivealarminalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;    /**< in */
  RTS_IEC_BOOL xFaultInAlarmlist; /**< out */
} isfaultinalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;          /**< in */
  RTS_IEC_BOOL xActiveFaultInAlarmlist; /**< out */
} isactivefaultinalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  RTS_IEC_BOOL xActive;        /**< in: TRUE keeps active entries, FALSE inactive ones */
} setfilterstatealarm_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  RTS_IEC_BOOL xAcknowledged;  /**< in: TRUE keeps acknowledged entries, FALSE unacknowledged ones */
} setfilterstateacknowledge_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
} resetfilterstatealarm_struct;

typedef resetfilterstatealarm_struct resetfilterstateacknowledge_struct;

/** One step of loading the complete list. [plc-task] */
TAVROLINE_EXPORT void loadcompletealarmlist_ext(loadcompletealarmlist_struct* parameters);

/** Copy the entries of the last loaded list that pass the handle's filters, in list order. [plc-task] */
TAVROLINE_EXPORT void getalarmlistentries_ext(getalarmlistentries_struct* parameters);

/** Last state of the central detector that was reported while this handle was open; starts FALSE. [plc-task]
 */
TAVROLINE_EXPORT void getcentraldetectorstate_ext(getcentraldetectorstate_struct* parameters);

/** What the list holds, the same through every handle; FALSE until the service first reports it. [plc-task]
 */
TAVROLINE_EXPORT void isalarminalarmlist_ext(isalarminalarmlist_struct* parameters);
TAVROLINE_EXPORT void isactivealarminalarmlist_ext(isactivealarminalarmlist_struct* parameters);
TAVROLINE_EXPORT void isfaultinalarmlist_ext(isfaultinalarmlist_struct* parameters);
TAVROLINE_EXPORT void isactivefaultinalarmlist_ext(isactivefaultinalarmlist_struct* parameters);

/** Set or remove the filter on the alarm state and the one on the acknowledgement; both must hold. [plc-task]
 */
TAVROLINE_EXPORT void setfilterstatealarm_ext(setfilterstatealarm_struct* parameters);
TAVROLINE_EXPORT void setfilterstateacknowledge_ext(setfilterstateacknowledge_struct* parameters);
TAVROLINE_EXPORT void resetfilterstatealarm_ext(resetfilterstatealarm_struct* parameters);
TAVROLINE_EXPORT void resetfilterstateacknowledge_ext(resetfilterstateacknowledge_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
