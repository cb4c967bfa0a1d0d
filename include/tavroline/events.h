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
  RTS_IEC_INT iEventType;             /**< 1 audit trail, 3 event; 0 and 2 are refused with a warning */
  RTS_IEC_INT iState;                 /**< 0 neutral, 1 on, 2 off */
  const RTS_IEC_STRING* psIconType;   /**< pointer to STRING; empty selects the default of type and state */
  const RTS_IEC_STRING* psModuleName; /**< pointer to STRING */
  RTS_IEC_DATE_AND_TIME dtDateTime;   /**< UTC; 0 takes the time at which the call hands the entry over */
  const stDataType* pstData;          /**< null, like the two below: the entry carries no description */
  const RTS_IEC_WSTRING* pwsUser;     /**< pointer to WSTRING */
  RTS_IEC_INT iKeywordSize;           /**< bytes of one keyword element, n + 1 for STRING(n) */
  const RTS_IEC_STRING* pasKeywords;  /**< first keyword; empty ones are skipped; null: no keywords */
  const stDescriptionArgumentType* pastArguments;
  const stDescriptionUrlArgumentType* pastUrlArguments;
  __ARRAY__DIM__INFO stKeywordsDimInfo;
  __ARRAY__DIM__INFO stArgumentsDimInfo;
  __ARRAY__DIM__INFO stUrlArgumentsDimInfo;
} logevent_struct;

typedef struct {
  RTS_IEC_DINT diReserved; /**< never read */
} deleteeventlist_struct;

/** Hand one entry over to the event list; nothing is reported back. [plc-task] */
TAVROLINE_EXPORT void logevent_ext(logevent_struct* parameters);

/** Ask the service to delete the event list; the pointer is never read and may be null. [plc-task] */
TAVROLINE_EXPORT void deleteeventlist_ext(deleteeventlist_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
