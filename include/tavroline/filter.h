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
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of either list */
} resetlistchanged_struct;

typedef resetlistchanged_struct resetfiltereventtype_struct;
typedef resetlistchanged_struct resetfiltertime_struct;
typedef resetlistchanged_struct resetfilterall_struct;

typedef struct {
  TavrolineHandle hReadHandle;      /**< in [handle]: a reader of either list */
  const RTS_IEC_STRING* psLanguage; /**< in [UTF-8]: for example "de"; empty is the service's default */
} setlistreadlanguage_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of either list */
  RTS_IEC_BOOL xListChanged;   /**< out [flag]: TRUE after a change */
} haslistchanged_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of either list */
  RTS_IEC_INT iEventType;      /**< in [code]: 0 alarm, 1 audit trail, 2 fault, 3 event */
} addfiltereventtype_struct;

typedef addfiltereventtype_struct clearfiltereventtype_struct;

typedef struct {
  TavrolineHandle hReadHandle;     /**< in [handle]: a reader of either list */
  RTS_IEC_INT iFilterType;         /**< in [code]: 0 include list, 1 exclude list; others as 1 */
  const RTS_IEC_STRING* psKeyword; /**< in [UTF-8]: compared as a whole */
} addfilterkeyword_struct;

typedef addfilterkeyword_struct clearfilterkeyword_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: a reader of either list */
  RTS_IEC_INT iFilterType;     /**< in [code]: 0 include list, 1 exclude list; others as 1 */
} resetfilterkeyword_struct;

typedef struct {
  TavrolineHandle hReadHandle;      /**< in [handle]: a reader of either list */
  RTS_IEC_DATE_AND_TIME dtLatest;   /**< in [s local]: latest accepted time, inclusive */
  RTS_IEC_DATE_AND_TIME dtEarliest; /**< in [s local]: earliest accepted time, inclusive */
} setfiltertime_struct;

/**
 * Set the language in which the list is requested from the next load on.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void setlistreadlanguage_ext(setlistreadlanguage_struct* parameters);

/**
 * Whether the service has reported a change since the handle was opened or the flag was reset.
 * @result xListChanged, kept up to date by the hook @failure refused: it keeps its value @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void haslistchanged_ext(haslistchanged_struct* parameters);

/**
 * Reset the list-changed flag.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void resetlistchanged_ext(resetlistchanged_struct* parameters);

/**
 * Accept entries of one more type; without a chosen type every type passes.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void addfiltereventtype_ext(addfiltereventtype_struct* parameters);

/**
 * Take one type back out of the accepted ones.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void clearfiltereventtype_ext(clearfiltereventtype_struct* parameters);

/**
 * Accept every type again.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void resetfiltereventtype_ext(resetfiltereventtype_struct* parameters);

/**
 * Add a keyword to one list. Included: an entry must carry at least one of them; excluded: none. Letter case
 * counts.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void addfilterkeyword_ext(addfilterkeyword_struct* parameters);

/**
 * Remove a keyword from one list.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void clearfilterkeyword_ext(clearfilterkeyword_struct* parameters);

/**
 * Remove all keywords from one list.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void resetfilterkeyword_ext(resetfilterkeyword_struct* parameters);

/**
 * Set both bounds of the time range; 0 is a bound like any other value.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void setfiltertime_ext(setfiltertime_struct* parameters);

/**
 * Remove both bounds of the time range.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void resetfiltertime_ext(resetfiltertime_struct* parameters);

/**
 * Forget event types, keywords and time range; language, flag and the alarm list's own filters stay.
 * @result none @failure refused: nothing happens @blocks never [plc-task]
 */
TAVROLINE_EXPORT void resetfilterall_ext(resetfilterall_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
