/** @file
 * Opening and closing the three kinds of handle.
 */
#ifndef TAVROLINE_HANDLES_H
#define TAVROLINE_HANDLES_H

#include "tavroline/conventions.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
  RTS_IEC_BOOL xSuccess;       /**< out [flag]: TRUE once the reader exists, never written as FALSE */
  TavrolineHandle hReadHandle; /**< out [handle]: the new reader */
} openeventlistreadhandle_struct;

typedef openeventlistreadhandle_struct openalarmlistreadhandle_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in [handle]: the reader to end; unchanged */
} closeeventlistreadhandle_struct;

typedef closeeventlistreadhandle_struct closealarmlistreadhandle_struct;

typedef struct {
  RTS_IEC_DINT diReserved;      /**< unused [number]: neither read nor written */
  TavrolineHandle hWriteHandle; /**< out [handle]: the new alarm handler */
} openalarmlistwritehandle_struct;

typedef struct {
  TavrolineHandle hWriteHandle; /**< in/out [handle]: the alarm handler to end; 0 afterwards */
} closealarmlistwritehandle_struct;

/**
 * Create a reader of the event list.
 * @result xSuccess TRUE and hReadHandle the new reader
 * @failure structure null: ignored silently; no memory: hReadHandle 0, xSuccess unchanged, logged
 * @blocks briefly, for the event-list readers
 * [plc-task]
 */
TAVROLINE_EXPORT void openeventlistreadhandle_ext(openeventlistreadhandle_struct* parameters);

/**
 * Create a reader of the alarm list.
 * @result xSuccess TRUE and hReadHandle the new reader
 * @failure structure null: ignored silently; no memory: hReadHandle 0, xSuccess unchanged, logged
 * @blocks briefly, for the alarm-list readers
 * [plc-task]
 */
TAVROLINE_EXPORT void openalarmlistreadhandle_ext(openalarmlistreadhandle_struct* parameters);

/**
 * End an event-list reader and release what it loaded.
 * @result none
 * @failure structure or handle null: ignored silently; handle unknown, closed or of another kind: logged
 * @blocks briefly, for the event-list readers
 * [plc-task]
 */
TAVROLINE_EXPORT void closeeventlistreadhandle_ext(closeeventlistreadhandle_struct* parameters);

/**
 * End an alarm-list reader and release what it loaded.
 * @result none
 * @failure structure or handle null: ignored silently; handle unknown, closed or of another kind: logged
 * @blocks briefly, for the alarm-list readers
 * [plc-task]
 */
TAVROLINE_EXPORT void closealarmlistreadhandle_ext(closealarmlistreadhandle_struct* parameters);

/**
 * Create the handler of one alarm or fault, in the off state, with a new identifier.
 * @result hWriteHandle the new alarm handler
 * @failure structure null: nothing written; no memory: hWriteHandle 0; both logged
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void openalarmlistwritehandle_ext(openalarmlistwritehandle_struct* parameters);

/**
 * End an alarm handler; an alarm or fault that is still on is cleared first.
 * @result hWriteHandle 0
 * @failure structure null: nothing written; handle refused: hWriteHandle 0, nothing else happens; both logged
 * @blocks never
 * [plc-task]
 */
TAVROLINE_EXPORT void closealarmlistwritehandle_ext(closealarmlistwritehandle_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
