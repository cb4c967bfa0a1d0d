/** @file
 * Raising, clearing, querying and acknowledging alarms and faults. hWriteHandle stands for one alarm or
 * fault.
 */
#ifndef TAVROLINE_ALARMS_H
#define TAVROLINE_ALARMS_H

#include "tavroline/description.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
  TavrolineHandle hWriteHandle;
  RTS_IEC_INT iEventType;             /**< 0 alarm, 2 fault; passed on unchecked */
  RTS_IEC_INT iState;                 /**< 1 on, 2 off; 0 is refused with a warning, others are ignored */
  const RTS_IEC_STRING* psIconType;   /**< pointer to STRING; empty selects the default of type and state */
  const RTS_IEC_STRING* psModuleName; /**< pointer to STRING */
  RTS_IEC_DATE_AND_TIME dtDateTime;   /**< UTC; 0 takes the time at which the call hands the change over */
  const stDataType* pstData;          /**< must not be null, nor the two below: the call is refused */
  const RTS_IEC_WSTRING* pwsUser;     /**< pointer to WSTRING */
  RTS_IEC_INT iKeywordSize;           /**< bytes of one keyword element, n + 1 for STRING(n) */
  const RTS_IEC_STRING* pasKeywords;  /**< first keyword; empty ones are skipped; null: no keywords */
  const stDescriptionArgumentType* pastArguments;
  const stDescriptionUrlArgumentType* pastUrlArguments;
  __ARRAY__DIM__INFO stKeywordsDimInfo;
  __ARRAY__DIM__INFO stArgumentsDimInfo;
  __ARRAY__DIM__INFO stUrlArgumentsDimInfo;
} logalarm_struct;

typedef struct {
  TavrolineHandle hWriteHandle; /**< in */
  RTS_IEC_BOOL* pxActive; /**< in: where the state goes, written with result 0 only; null: not written */
  RTS_IEC_BOOL* pxAcknowledged; /**< in: as pxActive */
  RTS_IEC_INT iResult;          /**< out: 0 state delivered, 1 query running, 2 error */
} getalarmstatefromalarmhandler_struct;

typedef struct {
  RTS_IEC_INT iAlarmIdSize;          /**< bytes of one identifier element, n + 1 for STRING(n) */
  const RTS_IEC_WSTRING* pwsUser;    /**< pointer to WSTRING: who acknowledges */
  const RTS_IEC_STRING* pasAlarmIds; /**< first identifier; empty ones are skipped */
  __ARRAY__DIM__INFO stAlarmIdsDimInfo;
} acknowledgevisualalarm_struct;

typedef struct {
  const RTS_IEC_WSTRING* pwsUser; /**< pointer to WSTRING: who acknowledges */
} acknowledgecentraldetector_struct;

/** Hand over the present state of the alarm condition; only a change reaches the service, so call it in every
 * cycle. [plc-task] */
TAVROLINE_EXPORT void logalarm_ext(logalarm_struct* parameters);

/** One step of asking the service for the alarm's state; after 0 or a failed query's pause a new query
 * starts. [plc-task] */
TAVROLINE_EXPORT void getalarmstatefromalarmhandler_ext(getalarmstatefromalarmhandler_struct* parameters);

/** Acknowledge some alarms by their identifiers. [plc-task] */
TAVROLINE_EXPORT void acknowledgevisualalarm_ext(acknowledgevisualalarm_struct* parameters);

/** Acknowledge the central detector. [plc-task] */
TAVROLINE_EXPORT void acknowledgecentraldetector_ext(acknowledgecentraldetector_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
