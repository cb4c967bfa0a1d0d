/*
 * A C program on the C headers: enters the library as the component manager does and calls functions through
 * the registered table, with no bus at all.
 *
 * Use: HeadersC11 LIBRARY
 */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "tavroline/tavroline.h"

static int s_failures;
#define CHECK(condition) check((condition), #condition, __LINE__)
static void check(int holds, const char* condition, int line) {
  if (!holds) fprintf(stderr, "line %d: not true: %s\n", line, condition), ++s_failures;
}

static const ExternalFunctionEntry* s_table;

static RTS_RESULT registerApi(const ExternalFunctionEntry* table, uintptr_t reserved, uintptr_t external,
                              uintptr_t componentId) {
  CHECK(reserved == 0 && (componentId & 0xFFFF3000u) == 0x1B4E3000u);
  if (external == 1) s_table = table;
  return 0;
}

static ExternalFunction find(const char* name) {
  const ExternalFunctionEntry* row = s_table;
  while (row->pszName[0] != '\0' && strcmp(row->pszName, name) != 0)
    ++row;
  return row->pfFunction;
}
#define CALL(name, parameters) ((void (*)(name##_struct*))find(#name "_ext"))(parameters)

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) {
    fprintf(stderr, "%s\n", argc == 2 ? dlerror() : "use: HeadersC11 LIBRARY");
    return 2;
  }
  int (*entry)(ComponentInitRecord*) = NULL;
  *(void**)&entry = dlsym(library, "ComponentEntry");
  ComponentInitRecord record = {.pfRegisterApi = registerApi};
  CHECK(entry(NULL) == 1 && entry(&record) == 0);
  CHECK(record.pfExportFunctions() == 0 && record.pfHookFunction(TAVROLINE_HOOK_COMM_CYCLE, 0, 0) == 0);

  openeventlistreadhandle_struct open = {0, NULL};
  CALL(openeventlistreadhandle, &open);
  stEventlistEntryType entry1;
  stGetEventlistEntriesType request = {open.hReadHandle, &entry1, 1, 9, 9};
  geteventlistentries_struct get = {&request};
  CALL(geteventlistentries, &get);
  CHECK(open.xSuccess == 1 && request.iResult == TAVROLINE_DONE && request.diNumberOfEntries == 0);
  closeeventlistreadhandle_struct close = {open.hReadHandle};
  CALL(closeeventlistreadhandle, &close);
  CHECK(dlclose(library) == 0);
  return s_failures == 0 ? 0 : 1;
}
