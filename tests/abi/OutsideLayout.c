/*
 * The library as an IEC application uses it, without a bus. This program takes the component manager's part
 * with raw words, fills raw bytes by the table in OutsideTable.h and calls every function of it. It includes
 * no header of the library.
 *
 * Use: OutsideLayout LIBRARY
 */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "OutsideTable.h"

/** An address as a word of the interface. */
#define WORD(address) ((uint32_t)(uintptr_t)(address))

static int failures;

static void check(bool holds, const char* function, const char* what) {
  if (!holds) {
    fprintf(stderr, "%s: does not hold: %s\n", function, what);
    ++failures;
  }
}

/* The component manager's part. */

enum { EXPORT = 1, IMPORT = 2, REGISTER = 7, GET_API = 13, WORDS = 15, CELLS = 4 };
static uint32_t record[WORDS];
static const uint32_t* rows;

static uint32_t registerTable(const uint32_t* table, uint32_t reserved, uint32_t external) {
  rows = reserved == 0 && external == 1 ? table : rows;
  return 0;
}

static uint32_t getApi(const char* name, uint32_t* variable) {
  (void)name;
  *variable = 0;
  return 0;
}

static void enterComponent(void* library) {
  record[REGISTER] = WORD(registerTable);
  record[GET_API] = WORD(getApi);
  ((int (*)(uint32_t*))(uintptr_t)dlsym(library, "ComponentEntry"))(record);
  ((uint32_t(*)(void))(uintptr_t)record[IMPORT])();
  ((uint32_t(*)(void))(uintptr_t)record[EXPORT])();
}

/* Raw memory of one structure, with bytes behind the largest one that must stay untouched. */

typedef struct {
  const Layout* layout;
  _Alignas(8) unsigned char bytes[856 + 8];
} Memory;

static const uint32_t kUntouched = 0xA5A5A5A5;
static const unsigned char kZeros[840];
static unsigned char written[856];
static Memory request;

/** A valid input by the name of the field: an address of zeros, or 1, so that an array has one element. */
static uint32_t inputOf(const char* field, uint32_t handle) {
  if (field[0] == 'h') {
    return handle;
  }
  if (strcmp(field, "pstRequest") == 0) {
    return WORD(request.bytes);
  }
  if (strcmp(field, "pastEntries") == 0 || strncmp(field, "px", 2) == 0) {
    return WORD(written);
  }
  return field[0] == 'p' ? WORD(kZeros) : 1;
}

/** The row of a function or request that the table has. */
static const Layout* layoutOf(const char* name) {
  const Layout* layout = kLayouts;
  while (strcmp(layout->name, name) != 0) {
    ++layout;
  }
  return layout;
}

/** Fills the inputs and leaves all other bytes untouched. */
static Memory fill(const Layout* layout, uint32_t handle) {
  Memory memory = {.layout = layout};
  memset(memory.bytes, (int)(kUntouched & 0xff), sizeof memory.bytes);
  for (const Field* field = layout->fields; field->name != NULL; ++field) {
    if (!field->output) {
      const uint32_t value = inputOf(field->name, handle);
      memcpy(memory.bytes + field->offset, &value, field->width);
    }
  }
  return memory;
}

/** The input or output whose name begins so, or null. */
static const Field* fieldOf(const Layout* layout, const char* beginning, bool output) {
  for (const Field* field = layout->fields; field->name != NULL; ++field) {
    if (field->output == output && strncmp(field->name, beginning, strlen(beginning)) == 0) {
      return field;
    }
  }
  return NULL;
}

/** Whether the outputs have these values and nothing else has changed. */
static void checkOutputs(Memory before, const Memory* after, uint32_t handle, uint32_t result,
                         uint32_t others) {
  for (const Field* field = before.layout->fields; field->name != NULL; ++field) {
    const uint32_t resultOrOther = strcmp(field->name, "iResult") == 0 ? result : others;
    const uint32_t value = field->name[0] == 'h' ? handle : resultOrOther;
    if (field->output) {
      memcpy(before.bytes + field->offset, &value, field->width);
    }
  }
  for (uint32_t i = 0; i < sizeof before.bytes; ++i) {
    char what[40];
    snprintf(what, sizeof what, "byte %u is %02x, not %02x", i, before.bytes[i], after->bytes[i]);
    check(before.bytes[i] == after->bytes[i], after->layout->name, what);
  }
}

static Memory call(Memory memory) {
  ((void (*)(void*))(uintptr_t)rows[CELLS * (memory.layout - kLayouts)])(memory.bytes);
  return memory;
}

static uint32_t openHandle(const char* function) {
  const Memory before = fill(layoutOf(function), 0);
  const Memory after = call(before);
  uint32_t handle = 0;
  memcpy(&handle, after.bytes + fieldOf(after.layout, "h", true)->offset, sizeof handle);
  check(handle != 0 && handle != kUntouched, function, "there is a handle");
  checkOutputs(before, &after, handle, 0, 1);
  return handle;
}

/** Without a bus results become 2, within half a minute, flags are FALSE and lists are empty. */
static void checkCall(const Layout* function, uint32_t handle) {
  const bool ofAlarms = strstr(function->name, "alarm") != NULL;
  const Memory requested =
      fill(layoutOf(ofAlarms ? "stGetAlarmlistEntriesType" : "stGetEventlistEntriesType"), handle);
  const Memory before = fill(function, handle);
  Memory after = before;
  const Field* const result = fieldOf(function, "iResult", true);
  const time_t end = time(NULL) + 30;
  do {
    request = requested;
    after = call(before);
    nanosleep(&(struct timespec){0, 2000000}, NULL);
  } while (result != NULL && after.bytes[result->offset] == 1 && time(NULL) < end);
  checkOutputs(before, &after, 0, 2, 0);
  if (fieldOf(function, "pstRequest", false) != NULL) {
    checkOutputs(requested, &request, 0, 0, 0);
  }
}

int main(int count, char** arguments) {
  void* library = count == 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) {
    fprintf(stderr, "%s\n", count == 2 ? dlerror() : "use: OutsideLayout LIBRARY");
    return 2;
  }
  enterComponent(library);
  const uint32_t eventReader = openHandle("openeventlistreadhandle_ext");
  const uint32_t alarmReader = openHandle("openalarmlistreadhandle_ext");
  const uint32_t alarmHandler = openHandle("openalarmlistwritehandle_ext");
  for (int closing = 0; closing <= 1; ++closing) {
    for (const Layout* function = kLayouts; function->signature != 0; ++function) {
      const char* const name = function->name;
      if ((strncmp(name, "close", 5) == 0) != closing || strncmp(name, "open", 4) == 0) {
        continue;
      }
      const bool ofAlarms = strstr(name, "alarm") != NULL || strstr(name, "state") != NULL;
      const uint32_t reader = ofAlarms ? alarmReader : eventReader;
      const uint32_t handle = fieldOf(function, "hWriteHandle", false) != NULL ? alarmHandler : reader;
      checkCall(function, handle);
    }
  }
  return failures == 0 ? 0 : 1;
}
