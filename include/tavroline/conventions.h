/** @file
 * Rules for every structure and function of this interface, so that the comments elsewhere can be short.
 *
 *  1. Functions. Every external function returns nothing and takes one pointer to its parameter structure,
 * which is named after it (logevent_struct for logevent_ext). It reads the inputs there and writes the
 * outputs there.
 *  2. Layout. Fields have their natural alignment, little-endian. Offsets and sizes are fixed on the
 * 32-bit target, where a pointer and a handle have 4 bytes; component/LayoutAssertions.cpp proves them.
 *  3. BOOL is one signed byte: 0 is FALSE, any other value TRUE; outputs are written as 0 or 1.
 *  4. STRING[n] is n + 1 bytes of UTF-8, WSTRING[n] n + 1 code units of UTF-16, both terminated by a zero;
 * the capacities below count the terminator. A field without a terminator is read up to its end. A bare
 * pointer to a text carries no capacity: the text behind it must be terminated. A null text pointer is an
 * empty text.
 *  5. DATE_AND_TIME counts seconds since 1970-01-01 00:00:00, unsigned up to the year 2106. Time stamps of
 * entries are UTC, filter bounds are local time.
 *  6. Arrays of variable length come as a pointer to the first element and the bounds, a structure of two
 * DINT, lower and upper (stArrayDimInfo, in C __ARRAY__DIM__INFO): upper - lower + 1 elements are read, none
 * when upper is below lower, none when the difference exceeds 2147483647.
 *  7. Handles are opaque; 0 means none. An open function creates one, the close function of the same kind
 * ends it; a handle is valid until then and belongs to one PLC task at a time.
 *  8. A null structure pointer, nested structure pointer or handle is written to the runtime log, and so is a
 * handle that is unknown, already closed or of another kind; outputs then keep their values, except that an
 * iResult field reads 2 when the handle is refused.
 *  9. Results in iResult fields: 0 done, 1 busy (call again in the next cycle), 2 error.
 * 10. Ownership. The component keeps no pointer into a structure, text or array beyond the call.
 * 11. Threads. Each function carries one of these tags: [plc-task] any PLC task, also several at once;
 *     [hook] the runtime's communication-cycle thread; [init] the runtime's start-up thread, before any
 * other; [hub] the client's own thread; [any-thread].
 * 12. Blocking. Nothing waits for the bus. "never": nothing but locks that are held for an instant.
 * "briefly": also the mutex of one kind of list, which a task that completes a load holds while it parses the
 * list, 1.5 to 3 ms per 1,000 entries on a desk machine, and the hook while it distributes signals.
 * 13. Fields. A comment says direction, [unit] and meaning. Units: [handle]; [flag] a BOOL; [code] one of the
 * numbers named; [count]; [number]; [bytes]; [s UTC] and [s local] seconds as in 5; [UTF-8] and [UTF-16] text
 * as in 4; [address]; [bounds] as in 6; [record] a structure. "refused" in the comment of a function means 8.
 */
#ifndef TAVROLINE_CONVENTIONS_H
#define TAVROLINE_CONVENTIONS_H

#include "CodesysRuntime.h"

#define TAVROLINE_EXPORT __attribute__((visibility("default")))

/** Capacities of text fields in characters, terminator included. */
enum {
  TAVROLINE_TEXT_80 = 81,  /**< STRING[80] and WSTRING[80] */
  TAVROLINE_TEXT_255 = 256 /**< STRING[255] and WSTRING[255] */
};

/** Results in iResult fields. */
enum { TAVROLINE_DONE = 0, TAVROLINE_BUSY = 1, TAVROLINE_ERROR = 2 };

/** Event types. Other numbers pass through the component unchanged. */
enum { TAVROLINE_ALARM = 0, TAVROLINE_AUDIT_TRAIL = 1, TAVROLINE_FAULT = 2, TAVROLINE_EVENT = 3 };

/** States. An alarm or fault is raised by "on" and cleared by "off". */
enum { TAVROLINE_NEUTRAL = 0, TAVROLINE_ON = 1, TAVROLINE_OFF = 2 };

/** Keyword lists of a filter. */
enum { TAVROLINE_INCLUDE = 0, TAVROLINE_EXCLUDE = 1 };

/** A read or write handle: opaque, 0 (null) means none. */
typedef void* TavrolineHandle;

#endif
