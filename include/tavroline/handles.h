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
  RTS_IEC_BOOL xSuccess;       /**< out: TRUE once the reader exists, never written as FALSE */
  TavrolineHandle hReadHandle; /**< out: the new reader; 0 when there was no memory for it */
} openeventlistreadhandle_struct;

typedef openeventlistreadhandle_struct openalarmlistreadhandle_struct;

typedef struct {
  TavrolineHandle hReadHandle; /**< in: the reader to end; left as it is */
} closeeventlistreadhandle_struct;

typedef closeeventlistreadhandle_struct closealarmlistreadhandle_struct;

typedef struct {
  RTS_IEC_DINT diReserved;      /**< neither read nor written */
  TavrolineHandle hWriteHandle; /**< out: the new alarm handler; 0 when there was no memory for it */
} openalarmlistwritehandle_struct;

typedef struct {
  TavrolineHandle hWriteHandle; /**< in, out: the alarm handler to end; 0 afterwards */
} closealarmlistwritehandle_struct;

/** Create a reader of the event list or of the alarm list. A null structure is ignored silently. [plc-task]
 */
TAVROLINE_EXPORT void openeventlistreadhandle_ext(openeventlistreadhandle_struct* parameters);
TAVROLINE_EXPORT void openalarmlistreadhandle_ext(openalarmlistreadhandle_struct* parameters);

/** End a reader and release what it loaded. A null structure or handle is ignored silently. [plc-task] */
TAVROLINE_EXPORT void closeeventlistreadhandle_ext(closeeventlistreadhandle_struct* parameters);
TAVROLINE_EXPORT void closealarmlistreadhandle_ext(closealarmlistreadhandle_struct* parameters);

/** Create the handler of one alarm or fault, in the off state, with an identifier of its own. [plc-task] */
TAVROLINE_EXPORT void openalarmlistwritehandle_ext(openalarmlistwritehandle_struct* parameters);

/** End an alarm handler; an alarm or fault that is still on is cleared first. [plc-task] */
TAVROLINE_EXPORT void closealarmlistwritehandle_ext(closealarmlistwritehandle_struct* parameters);

#ifdef __cplusplus
}
#endif

#endif
