/** @file
 * What both kinds of read handle share: language, list-changed flag and the common filter. hReadHandle takes
 * an event-list or an alarm-list read handle. A filter acts when entries are copied, not when the list is
 * loaded.
 */
#ifndef TAVROLINE_FILTER_H
#define TAVROLINE_FILTER_H

#include "tavroline/conventions.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Structure of the functions that take a read handle and nothing else. */
typedef struct {
  TavrolineHandle hReadHandle; /**< in */
} resetlistchanged_struct;

typedef resetlistchanged_struct resetfiltereventtype_struct;
typedef resetlistchanged_struct resetfiltertime_struct;
typedef resetlistchanged_struct resetfilterall_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  const RTS_IEC_STRING*
      psLanguage; /**< in: pointer to STRING, for example "de"; empty is the service's default */
} setlistreadlanguage_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  RTS_IEC_BOOL xListChanged;   /**< out */
} haslistchanged_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  RTS_IEC_INT iEventType;      /**< in: 0 alarm, 1 audit trail, 2 fault, 3 event */
} addfiltereventtype_struct;

typedef addfiltereventtype_struct clearfiltereventtype_struct;

typedef struct {
  TavrolineHandle hReadHandle;     /**< in */
  RTS_IEC_INT iFilterType;         /**< in: 0 include list, any other value exclude list */
  const RTS_IEC_STRING* psKeyword; /**< in: pointer to STRING */
} addfilterkeyword_struct;

typedef addfilterkeyword_struct clearfilterkeyword_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in */
  RTS_IEC_INT iFilterType;     /**< in: 0 include list, any other value exclude list */
} resetfilterkeyword_struct;

typedef struct {
  TavrolineHandle hReadHandle;      /**< in */
  RTS_IEC_DATE_AND_TIME dtLatest;   /**< in: latest accepted time, inclusive, local time */
  RTS_IEC_DATE_AND_TIME dtEarliest; /**< in: earliest accepted time, inclusive, local time */
} setfiltertime_struct;

/** Set the language in which the list is requested from the next load on. [plc-task] */
TAVROLINE_EXPORT void setlistreadlanguage_ext(setlistreadlanguage_struct* parameters);

/** Whether the service has reported a change since the handle was opened or the flag was reset. [plc-task] */
TAVROLINE_EXPORT void haslistchanged_ext(haslistchanged_struct* parameters);
TAVROLINE_EXPORT void resetlistchanged_ext(resetlistchanged_struct* parameters);

/** Add, remove or forget all accepted event types; with none every type passes. [plc-task] */
TAVROLINE_EXPORT void addfiltereventtype_ext(addfiltereventtype_struct* parameters);
TAVROLINE_EXPORT void clearfiltereventtype_ext(clearfiltereventtype_struct* parameters);
TAVROLINE_EXPORT void resetfiltereventtype_ext(resetfiltereventtype_struct* parameters);

/** Add, remove or forget all keywords of one list. Included: an entry must carry at least one; excluded:
 * none. [plc-task] */
TAVROLINE_EXPORT void addfilterkeyword_ext(addfilterkeyword_struct* parameters);
TAVROLINE_EXPORT void clearfilterkeyword_ext(clearfilterkeyword_struct* parameters);
TAVROLINE_EXPORT void resetfilterkeyword_ext(resetfilterkeyword_struct* parameters);

/** Set or remove both bounds of the time range; 0 is a bound like any other value. [plc-task] */
TAVROLINE_EXPORT void setfiltertime_ext(setfiltertime_struct* parameters);
TAVROLINE_EXPORT void resetfiltertime_ext(resetfiltertime_struct* parameters);

/** Forget event types, keywords and time range; language, flag and the alarm list's own filters stay.
 * [plc-task] */
TAVROLINE_EXPORT void resetfilterall_ext(resetfilterall_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
