/** @file
 * Raising, clearing, querying and acknowledging alarms and faults. Each write handle represents one
 * alarm or fault.
 */
#ifndef TAVROLINE_ALARMS_H
#define TAVROLINE_ALARMS_H

#include "tavroline/description.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
  TavrolineHandle hWriteHandle; /**< in [handle]: the alarm handler */
  RTS_IEC_INT iEventType;       /**< in [code]: 0 alarm, 2 fault; passed on unchecked */
  RTS_IEC_INT iState; /**< in [code]: 1 on, 2 off; 0 is refused with a warning, others are ignored */
  const RTS_IEC_STRING* psIconType;   /**< in [UTF-8]: empty selects the default of type and state */
  const RTS_IEC_STRING* psModuleName; /**< in [UTF-8]: which module it concerns */
  RTS_IEC_DATE_AND_TIME dtDateTime;   /**< in [s UTC]: 0: no time stamp */
  const stDataType* pstData;          /**< in [address]: the description; must not be null */
  const RTS_IEC_WSTRING* pwsUser;     /**< in [UTF-16]: the user who caused it */
  RTS_IEC_INT iKeywordSize;           /**< in [bytes]: one keyword element, n + 1 for STRING[n] */
  const RTS_IEC_STRING* pasKeywords;  /**< in [UTF-8]: first keyword; empty ones are skipped */
  const stDescriptionArgumentType* pastArguments; /**< in [address]: first argument; must not be null */
  /** in [address]: first argument of the URL; must not be null */
  const stDescriptionUrlArgumentType* pastUrlArguments;
  __ARRAY__DIM__INFO stKeywordsDimInfo;     /**< in [bounds]: of pasKeywords */
  __ARRAY__DIM__INFO stArgumentsDimInfo;    /**< in [bounds]: of pastArguments */
  __ARRAY__DIM__INFO stUrlArgumentsDimInfo; /**< in [bounds]: of pastUrlArguments */
} logalarm_struct;

typedef struct {
  TavrolineHandle hWriteHandle; /**< in [handle]: the alarm handler */
  RTS_IEC_BOOL* pxActive;       /**< in [address]: gets the active state; null: not wanted */
  RTS_IEC_BOOL* pxAcknowledged; /**< in [address]: gets the acknowledged state; null: not wanted */
  RTS_IEC_INT iResult;          /**< out [code]: 0, 1 or 2 */
} getalarmstatefromalarmhandler_struct;

typedef struct {
  RTS_IEC_INT iAlarmIdSize;             /**< in [bytes]: one identifier element, n + 1 for STRING[n] */
  const RTS_IEC_WSTRING* pwsUser;       /**< in [UTF-16]: the user who acknowledges */
  const RTS_IEC_STRING* pasAlarmIds;    /**< in [UTF-8]: first identifier; empty ones are skipped */
  __ARRAY__DIM__INFO stAlarmIdsDimInfo; /**< in [bounds]: of pasAlarmIds */
} acknowledgevisualalarm_struct;

typedef struct {
  const RTS_IEC_WSTRING* pwsUser; /**< in [UTF-16]: the user who acknowledges */
} acknowledgecentraldetector_struct;

/**
 * Hand over the present state of the alarm condition. Only a change reaches the service, so it may be called
 * in every cycle.
 * @result none; the outcome of the change is not reported
 * @failure structure, pstData, pastArguments or pastUrlArguments null or handle refused: the alarm keeps its
 * state; pasKeywords null: no keywords; all logged, nothing written
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void logalarm_ext(logalarm_struct* parameters);

/**
 * One step of asking the service for the alarm's state. After 0 the next call starts a new query.
 * @result iResult 1 while the query runs; 0 with *pxActive and *pxAcknowledged written
 * @failure structure null: nothing written; handle refused or query failed: iResult 2, neither flag written;
 * all logged; a new query starts 5 s after a failed one
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void getalarmstatefromalarmhandler_ext(getalarmstatefromalarmhandler_struct* parameters);

/**
 * Acknowledge some alarms by their identifiers, the sAlarmID of alarm-list entries.
 * @result none; the outcome is not reported
 * @failure structure null: nothing happens; pasAlarmIds null with elements to read: no identifiers; both
 * logged, nothing written
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void acknowledgevisualalarm_ext(acknowledgevisualalarm_struct* parameters);

/**
 * Acknowledge the central detector.
 * @result none; the outcome is not reported
 * @failure structure null: nothing happens, logged
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void acknowledgecentraldetector_ext(acknowledgecentraldetector_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
