/** @file
 * A PLC program of tavroline-host is a shared object that exports PlcProgramMain. It finds the external
 * functions by name in the table that the component has registered, and does not link the component.
 */
#ifndef PLC_PROGRAM_H
#define PLC_PROGRAM_H

#include "tavroline/component.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The runtime's services for a program. Valid until the program's stop function has returned. */
typedef struct {
  void* context;
  /** The external function that the component registered under this name; null if it registered no such
   * function. [any-thread] */
  ExternalFunction (*findFunction)(void* context, const char* name);
  /** Ask the runtime to end with this exit status (its lowest 8 bits); the first request counts. [any-thread]
   */
  void (*finish)(void* context, int status);
} PlcRuntime;

/** One task of a program: `cycle` is called every `periodMilliseconds` in the task's thread. */
typedef struct {
  const char* name;
  uint32_t periodMilliseconds;
  void (*cycle)(void* state);
  void* state;
} PlcTask;

/** A program's tasks. If they are valid, `stop` (may be null) is called once before the program is unloaded,
 * when none of its tasks runs any more. */
typedef struct {
  const PlcTask* tasks;
  size_t taskCount;
  void (*stop)(void* state);
  void* state;
} PlcProgram;

/** The program's entry, exported under this name. @return 0 with `program` filled; the host refuses to start
 * a program that returns another value. [init] */
int PlcProgramMain(const PlcRuntime* runtime, PlcProgram* program);
typedef int (*PlcProgramMainFunction)(const PlcRuntime* runtime, PlcProgram* program);

#ifdef __cplusplus
}
#endif

#endif
