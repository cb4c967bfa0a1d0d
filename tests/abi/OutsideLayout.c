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
static uint32_t eventReader, alarmReader, alarmHandler;

/** Where the handle of that field is kept. */
static uint32_t* handleFor(const Layout* layout, const Field* field) {
  if (field->name[1] == 'W') {
    return &alarmHandler;
  }
  const bool ofAlarms = strstr(layout->name, "larm") != NULL || strstr(layout->name, "state") != NULL;
  return ofAlarms ? &alarmReader : &eventReader;
}

/** A valid input: an address of zeros, or 1, so that an array has one element. */
static uint32_t inputOf(const Layout* layout, const Field* field) {
  if (field->name[0] == 'h') {
    return *handleFor(layout, field);
  }
  if (strcmp(field->name, "pstRequest") == 0) {
    return WORD(request.bytes);
  }
  if (strcmp(field->name, "pastEntries") == 0 || strncmp(field->name, "px", 2) == 0) {
    return WORD(written);
  }
  return field->name[0] == 'p' ? WORD(kZeros) : 1;
}

/** Fills the inputs and leaves all other bytes untouched. */
static Memory fill(const Layout* layout) {
  Memory memory = {.layout = layout};
  memset(memory.bytes, (int)(kUntouched & 0xff), sizeof memory.bytes);
  for (const Field* field = layout->fields; field->name != NULL; ++field) {
    if (!field->output) {
      const uint32_t value = inputOf(layout, field);
      memcpy(memory.bytes + field->offset, &value, field->width);
    }
  }
  return memory;
}

/** Checks that the outputs were written and no other byte was; keeps a new handle. */
static void checkWritten(Memory before, const Memory* after) {
  for (const Field* field = before.layout->fields; field->name != NULL; ++field) {
    if (field->output) {
      const unsigned char* const output = after->bytes + field->offset;
      check(memcmp(output, &kUntouched, field->width) != 0, before.layout->name, field->name);
      memcpy(before.bytes + field->offset, output, field->width);
      if (field->name[0] == 'h') {
        memcpy(handleFor(before.layout, field), output, field->width);
      }
    }
  }
  check(memcmp(before.bytes, after->bytes, sizeof before.bytes) == 0, before.layout->name,
        "other bytes stay as they are");
}

static void callFunction(const Layout* function) {
  const Layout* requested = kLayouts;
  const char* const name =
      strstr(function->name, "alarm") != NULL ? "stGetAlarmlistEntriesType" : "stGetEventlistEntriesType";
  while (strcmp(requested->name, name) != 0) {
    ++requested;
  }
  const Memory requestBefore = request = fill(requested);
  const Memory before = fill(function);
  Memory after = before;
  ((void (*)(void*))(uintptr_t)rows[CELLS * (function - kLayouts)])(after.bytes);
  checkWritten(before, &after);
  if (function->fields[0].name != NULL && strcmp(function->fields[0].name, "pstRequest") == 0) {
    checkWritten(requestBefore, &request);
  }
}

int main(int count, char** arguments) {
  void* library = count == 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) {
    fprintf(stderr, "%s\n", count == 2 ? dlerror() : "use: OutsideLayout LIBRARY");
    return 2;
  }
  enterComponent(library);
  enum { OPEN, USE, CLOSE, END };
  for (int step = OPEN; step < END; ++step) {
    for (const Layout* function = kLayouts; function->signature != 0; ++function) {
      const bool opens = strncmp(function->name, "open", 4) == 0;
      const bool closes = strncmp(function->name, "close", 5) == 0;
      if (opens == (step == OPEN) && closes == (step == CLOSE)) {
        callFunction(function);
      }
    }
  }
  check(eventReader != 0 && alarmReader != 0, "open", "there is a handle");
  return failures == 0 ? 0 : 1;
}
