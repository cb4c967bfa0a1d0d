/** @file
 * What a PLC program of tavroline-host is: a shared object that exports PlcProgramMain. It finds the external
 * functions by name in the table that the component has registered, and never links the component.
 */
#ifndef PLC_PROGRAM_H
#define PLC_PROGRAM_H

#include "tavroline/component.h"

#ifdef __cplusplus
extern "C" {
#endif

/** What the runtime offers to a program. Valid until the program has been stopped. */
typedef struct {
  void* context;
  /** The registered external function of that name, null if there is none. [any-thread] */
  ExternalFunction (*findFunction)(void* context, const char* name);
  /** Ask the runtime to end, with the process's exit status. [any-thread] */
  void (*finish)(void* context, int status);
} PlcRuntime;

/** One task of a program: `cycle` is called every `periodMilliseconds` in a thread of the task's own. */
typedef struct {
  const char* name;
  uint32_t periodMilliseconds;
  void (*cycle)(void* state);
  void* state;
} PlcTask;

/** A program's tasks; `stop` (may be null) is called once, after the last cycle of the last task. */
typedef struct {
  const PlcTask* tasks;
  size_t taskCount;
  void (*stop)(void* state);
  void* state;
} PlcProgram;

/** The program's entry, exported under this name: 0 and a filled `program`, anything else refuses to start.
 * [init] */
int PlcProgramMain(const PlcRuntime* runtime, PlcProgram* program);
typedef int (*PlcProgramMainFunction)(const PlcRuntime* runtime, PlcProgram* program);

#ifdef __cplusplus
}
#endif

#endif
