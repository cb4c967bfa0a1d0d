/*
 * A PLC program in one file, to be copied and changed: a boiler that heats up once and cools down again. It
 * logs an event when its burner starts and stops, and raises an alarm while the water is too hot.
 *
 *   cc -shared -fPIC -Iinclude -Iplatform -Idesk/host -o boiler.so demo/boiler.c
 *   tavroline-host ./boiler.so
 *
 * Built with -DHEATS_AGAIN=true it heats again and again.
 */
#include <stdbool.h>
#include <stdio.h>

#include "PlcProgram.h"
#include "tavroline/tavroline.h"

#define MODULE "Boiler"
#ifndef HEATS_AGAIN
#define HEATS_AGAIN false
#endif

enum { kHot = 90, kTooHot = 80, kWarm = 60 }; /* degrees */

/* The external functions: found by name at the start, never linked. */
static void (*logEvent)(logevent_struct*);
static void (*logAlarm)(logalarm_struct*);
static void (*openAlarm)(openalarmlistwritehandle_struct*);
static void (*closeAlarm)(closealarmlistwritehandle_struct*);

static const PlcRuntime* runtime;
static TavrolineHandle overheated; /* one handle for one alarm */
static int temperature = 20;
static bool burns = false;
static bool cooling = false;

/* No arguments. A null pointer instead would be reported in the runtime log. */
static const stDescriptionArgumentType noArgument;
static const stDescriptionUrlArgumentType noUrlArgument;
static const __ARRAY__DIM__INFO none = {0, -1};

/* The list shows it as "module: object state". */
static stDataType description(const char* object, const char* state) {
  stDataType data = {0};
  snprintf(data.sModuleName, sizeof data.sModuleName, "%s", MODULE);
  snprintf(data.sObjectName, sizeof data.sObjectName, "%s", object);
  snprintf(data.sInstanceName, sizeof data.sInstanceName, "%s", state);
  return data;
}

static void logBurner(void) {
  const stDataType data = description("burner", burns ? "started" : "stopped");
  logevent_struct event = {.iEventType = TAVROLINE_EVENT,
                           .iState = burns ? TAVROLINE_ON : TAVROLINE_OFF,
                           .psModuleName = MODULE,
                           .pstData = &data,
                           .iKeywordSize = sizeof "burner",
                           .pasKeywords = "burner",
                           .pastArguments = &noArgument,
                           .pastUrlArguments = &noUrlArgument,
                           .stArgumentsDimInfo = none,
                           .stUrlArgumentsDimInfo = none};
  logEvent(&event);
}

/* Called in every cycle with the present state: only its changes become entries. */
static void reportOverheating(void) {
  const stDataType data = description("water", "too hot");
  logalarm_struct alarm = {.hWriteHandle = overheated,
                           .iEventType = TAVROLINE_ALARM,
                           .iState = temperature > kTooHot ? TAVROLINE_ON : TAVROLINE_OFF,
                           .psModuleName = MODULE,
                           .pstData = &data,
                           .iKeywordSize = sizeof "water",
                           .pasKeywords = "water",
                           .pastArguments = &noArgument,
                           .pastUrlArguments = &noUrlArgument,
                           .stArgumentsDimInfo = none,
                           .stUrlArgumentsDimInfo = none};
  logAlarm(&alarm);
}

static void cycle(void* state) {
  (void)state;
  if (overheated == NULL) {
    openalarmlistwritehandle_struct open = {0};
    openAlarm(&open);
    overheated = open.hWriteHandle;
  }
  const bool burnt = burns;
  cooling = cooling || temperature >= kHot;
  burns = !cooling;
  temperature += burns ? 1 : -1;
  if (burns != burnt) {
    logBurner();
  }
  reportOverheating();
  if (cooling && temperature <= kWarm) {
    if (HEATS_AGAIN) {
      cooling = false;
    } else {
      runtime->finish(runtime->context, 0);
    }
  }
}

/* Every handle must be closed; that also clears an alarm that is still on. */
static void stop(void* state) {
  (void)state;
  closealarmlistwritehandle_struct close = {.hWriteHandle = overheated};
  if (overheated != NULL) {
    closeAlarm(&close);
  }
}

__attribute__((visibility("default"))) int PlcProgramMain(const PlcRuntime* plc, PlcProgram* program) {
  static const PlcTask kTasks[] = {{.name = MODULE, .periodMilliseconds = 10, .cycle = cycle}};
  runtime = plc;
  logEvent = (void (*)(logevent_struct*))plc->findFunction(plc->context, "logevent_ext");
  logAlarm = (void (*)(logalarm_struct*))plc->findFunction(plc->context, "logalarm_ext");
  openAlarm = (void (*)(openalarmlistwritehandle_struct*))plc->findFunction(plc->context,
                                                                            "openalarmlistwritehandle_ext");
  closeAlarm = (void (*)(closealarmlistwritehandle_struct*))plc->findFunction(
      plc->context, "closealarmlistwritehandle_ext");
  if (logEvent == NULL || logAlarm == NULL || openAlarm == NULL || closeAlarm == NULL) {
    return 1;
  }
  *program = (PlcProgram){.tasks = kTasks, .taskCount = 1, .stop = stop};
  return 0;
}
