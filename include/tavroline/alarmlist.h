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
  RTS_IEC_BOOL xAlarmAcknowledgment;                 /**< out [flag]: it has been acknowledged */
  RTS_IEC_BOOL xAlarmActive;                         /**< out [flag]: it is on */
  RTS_IEC_STRING sAlarmID[TAVROLINE_TEXT_80];        /**< out [UTF-8]: the identifier for acknowledgements */
  RTS_IEC_INT iEventType;                            /**< out [code]: 0 alarm, 2 fault */
  RTS_IEC_STRING sIconType[TAVROLINE_TEXT_80];       /**< out [UTF-8]: name of the icon */
  RTS_IEC_DATE_AND_TIME dtTimestamp;                 /**< out [s UTC]: 0 when the entry has no valid time */
  RTS_IEC_STRING sModuleName[TAVROLINE_TEXT_80];     /**< out [UTF-8]: which module it concerns */
  RTS_IEC_WSTRING wsDescription[TAVROLINE_TEXT_255]; /**< out [UTF-16]: in the handle's language */
} stAlarmlistEntryType;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of the alarm list */
  RTS_IEC_INT iResult;         /**< out [code]: 0, 1 or 2 */
} loadcompletealarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;       /**< in [handle]: a reader of the alarm list */
  stAlarmlistEntryType* pastEntries; /**< in [address]: first element of the caller's array */
  RTS_IEC_DINT diMaxEntries;         /**< in [count]: its elements; 0 or less copies nothing */
  RTS_IEC_INT iResult;               /**< out [code]: 0 or 2 */
  RTS_IEC_DINT diNumberOfEntries;    /**< out [count]: elements filled */
} stGetAlarmlistEntriesType;

typedef struct {
  stGetAlarmlistEntriesType* pstRequest; /**< in [address]: the parameters */
} getalarmlistentries_struct;

typedef struct {
  TavrolineHandle hReadHandle;        /**< in [handle]: a reader of the alarm list */
  RTS_IEC_BOOL xCentralDetectorState; /**< out [flag]: TRUE while the service has it on */
} getcentraldetectorstate_struct;

typedef struct {
  TavrolineHandle hReadHandle;    /**< in [handle]: a reader of the alarm list */
  RTS_IEC_BOOL xAlarmInAlarmlist; /**< out [flag]: TRUE while there is one */
} isalarminalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;          /**< in [handle]: a reader of the alarm list */
  RTS_IEC_BOOL xActiveAlarmInAlarmlist; /**< out [flag]: TRUE while there is one */
} isactivealarminalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;    /**< in [handle]: a reader of the alarm list */
  RTS_IEC_BOOL xFaultInAlarmlist; /**< out [flag]: TRUE while there is one */
} isfaultinalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle;          /**< in [handle]: a reader of the alarm list */
  RTS_IEC_BOOL xActiveFaultInAlarmlist; /**< out [flag]: TRUE while there is one */
} isactivefaultinalarmlist_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of the alarm list */
  RTS_IEC_BOOL xActive;        /**< in [flag]: TRUE keeps active entries, FALSE inactive ones */
} setfilterstatealarm_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of the alarm list */
  RTS_IEC_BOOL xAcknowledged;  /**< in [flag]: TRUE keeps acknowledged entries, FALSE unacknowledged ones */
} setfilterstateacknowledge_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of the alarm list */
} resetfilterstatealarm_struct;

typedef resetfilterstatealarm_struct resetfilterstateacknowledge_struct;

/**
 * One step of loading the complete list.
 * @result iResult 1 while a request runs, this reader's or another one's; 0 once the list is stored
 * @failure structure null: nothing written; handle refused or request failed: iResult 2, the list loaded
 * before stays; all logged
 * @blocks briefly, for the alarm-list readers
 * [plc-task]
 */
TAVROLINE_EXPORT void loadcompletealarmlist_ext(loadcompletealarmlist_struct* parameters);

/**
 * Copy the entries of the last loaded list that pass the handle's filters, in list order.
 * @result iResult 0, diNumberOfEntries and that many elements; the array's other elements stay as they are
 * @failure structure or request null: nothing written; handle refused or array null: iResult 2,
 * diNumberOfEntries unchanged; all logged
 * @blocks briefly, for the alarm-list readers; the copying itself holds no lock
 * [plc-task]
 */
TAVROLINE_EXPORT void getalarmlistentries_ext(getalarmlistentries_struct* parameters);

/**
 * The last state of the central detector that was reported while this handle was open; starts FALSE.
 * @result the state, kept up to date by the hook @failure refused: it keeps its value
 * @blocks never [plc-task]
 */
TAVROLINE_EXPORT void getcentraldetectorstate_ext(getcentraldetectorstate_struct* parameters);

/**
 * Whether the list holds an alarm. The same through every handle; FALSE until the service first reports it.
 * @result the flag, kept up to date by the hook @failure refused: it keeps its value @blocks never [plc-task]
 */
TAVROLINE_EXPORT void isalarminalarmlist_ext(isalarminalarmlist_struct* parameters);

/**
 * Whether the list holds an active alarm. The same through every handle; FALSE until the service first
 * reports it.
 * @result the flag, kept up to date by the hook @failure refused: it keeps its value @blocks never [plc-task]
 */
TAVROLINE_EXPORT void isactivealarminalarmlist_ext(isactivealarminalarmlist_struct* parameters);

/**
 * Whether the list holds a fault. The same through every handle; FALSE until the service first reports it.
 * @result the flag, kept up to date by the hook @failure refused: it keeps its value @blocks never [plc-task]
 */
TAVROLINE_EXPORT void isfaultinalarmlist_ext(isfaultinalarmlist_struct* parameters);

/**
 * Whether the list holds an active fault. The same through every handle; FALSE until the service first
 * reports it.
 * @result the flag, kept up to date by the hook @failure refused: it keeps its value @blocks never [plc-task]
 */
TAVROLINE_EXPORT void isactivefaultinalarmlist_ext(isactivefaultinalarmlist_struct* parameters);

/**
 * Set the filter on the alarm state; it and the one on the acknowledgement must both hold.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void setfilterstatealarm_ext(setfilterstatealarm_struct* parameters);

/**
 * Set the filter on the acknowledgement; it and the one on the alarm state must both hold.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void setfilterstateacknowledge_ext(setfilterstateacknowledge_struct* parameters);

/**
 * Remove the filter on the alarm state.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void resetfilterstatealarm_ext(resetfilterstatealarm_struct* parameters);

/**
 * Remove the filter on the acknowledgement.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void resetfilterstateacknowledge_ext(resetfilterstateacknowledge_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
