/** @file
 * Logging events and audit-trail entries, and deleting the event list. Needs no handle.
 */
#ifndef TAVROLINE_EVENTS_H
#define TAVROLINE_EVENTS_H

#include "tavroline/description.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
  RTS_IEC_INT iEventType; /**< in [code]: 1 audit trail, 3 event; 0 and 2 are refused with a warning */
  RTS_IEC_INT iState;     /**< in [code]: 0 neutral, 1 on, 2 off */
  const RTS_IEC_STRING* psIconType;   /**< in [UTF-8]: empty selects the default of type and state */
  const RTS_IEC_STRING* psModuleName; /**< in [UTF-8]: which module it concerns */
  RTS_IEC_DATE_AND_TIME dtDateTime;   /**< in [s UTC]: 0: no time stamp */
  const stDataType* pstData;          /**< in [address]: the description */
  const RTS_IEC_WSTRING* pwsUser;     /**< in [UTF-16]: the user who caused it */
  RTS_IEC_INT iKeywordSize;           /**< in [bytes]: one keyword element, n + 1 for STRING[n] */
  const RTS_IEC_STRING* pasKeywords;  /**< in [UTF-8]: first keyword; empty ones are skipped */
  const stDescriptionArgumentType* pastArguments;       /**< in [address]: first argument */
  const stDescriptionUrlArgumentType* pastUrlArguments; /**< in [address]: first argument of the URL */
  __ARRAY__DIM__INFO stKeywordsDimInfo;                 /**< in [bounds]: of pasKeywords */
  __ARRAY__DIM__INFO stArgumentsDimInfo;                /**< in [bounds]: of pastArguments */
  __ARRAY__DIM__INFO stUrlArgumentsDimInfo;             /**< in [bounds]: of pastUrlArguments */
} logevent_struct;

typedef struct {
  RTS_IEC_DINT diReserved; /**< unused [number]: never read */
} deleteeventlist_struct;

/**
 * Hand one entry over to the event list.
 * @result none; the outcome is not reported
 * @failure structure null: nothing handed over; pstData, pastArguments or pastUrlArguments null: an entry
 * without description; pasKeywords null: one without keywords; all logged, nothing written
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void logevent_ext(logevent_struct* parameters);

/**
 * Ask the service to delete the event list.
 * @result none; the outcome is not reported
 * @failure none: the pointer is never read and may be null
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void deleteeventlist_ext(deleteeventlist_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
