/*
 * A C program on the C headers: plays the component manager and calls functions through the registered table,
 * with no bus at all.
 *
 * Use: HeadersC11 LIBRARY
 */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "tavroline/tavroline.h"

static int s_failures;
#define CHECK(condition)                                                            \
  do {                                                                              \
    if (!(condition)) {                                                             \
      ++s_failures;                                                                 \
      fprintf(stderr, "%s:%d: %s does not hold\n", __FILE__, __LINE__, #condition); \
    }                                                                               \
  } while (0)

static const ExternalFunctionEntry* s_table;
static int s_registrations;
static char s_imports[256];

static RTS_RESULT registerApi(const ExternalFunctionEntry* table, uintptr_t reserved, uintptr_t external,
                              uintptr_t componentId) {
  ++s_registrations;
  CHECK(reserved == 0 && (componentId & 0xFFFF3000u) == 0x1B4E3000u);
  if (external == 1) s_table = table;
  return 0;
}

static RTS_RESULT getApi(const char* name, void** variable, uintptr_t option, uintptr_t signatureId,
                         uintptr_t version) {
  CHECK(*variable == NULL && signatureId == 0 && version == 0);
  snprintf(s_imports + strlen(s_imports), sizeof s_imports - strlen(s_imports), "%s/%u ", name,
           (unsigned)option);
  return strcmp(name, "CMUtlSafeStrCpy") == 0 ? 0 : 7;
}

static ExternalFunction find(const char* name) {
  for (const ExternalFunctionEntry* row = s_table; row->pszName[0] != '\0'; ++row)
    if (strcmp(row->pszName, name) == 0) return row->pfFunction;
  CHECK(!"registered");
  return NULL;
}
#define CALL(name, parameters) ((void (*)(name##_struct*))find(#name "_ext"))(parameters)

static void enter(int (*entry)(ComponentInitRecord*)) {
  ComponentInitRecord record;
  memset(&record, 0xA5, sizeof record);
  record.pfRegisterApi = registerApi;
  record.pfGetApi = getApi;
  CHECK(entry(NULL) == 1 && entry(&record) == 0);
  CHECK(record.pfUnused4 == NULL && record.pfUnused5 == NULL && record.pfRegisterApi == registerApi);
  CHECK(record.pfGetVersion() == TAVROLINE_COMPONENT_VERSION);
  CHECK(record.pfImportFunctions() == 0);
  CHECK(strcmp(s_imports,
               "LogAdd/2 CMUtlMemCpy/2 SysFileWrite/2 SysFileRead/2 SysFileClose/2 SysFileOpen/2 "
               "CMUtlSafeStrCpy/0 ") == 0);
  CHECK(record.pfExportFunctions() == 0 && s_registrations == 2);
  CHECK(record.pfHookFunction(TAVROLINE_HOOK_COMM_CYCLE, 0, 0) == 0);
}

static void readWithoutBus(void) {
  openeventlistreadhandle_struct open = {0, NULL};
  CALL(openeventlistreadhandle, &open);
  CHECK(open.xSuccess == 1 && open.hReadHandle != NULL);

  stEventlistEntryType entry;
  stGetEventlistEntriesType request = {open.hReadHandle, &entry, 1, 9, 9};
  geteventlistentries_struct get = {&request};
  CALL(geteventlistentries, &get);
  CHECK(request.iResult == TAVROLINE_DONE && request.diNumberOfEntries == 0);

  loadcompleteeventlist_struct load = {NULL, 9};
  CALL(loadcompleteeventlist, &load);
  CHECK(load.iResult == TAVROLINE_ERROR);

  closeeventlistreadhandle_struct close = {open.hReadHandle};
  CALL(closeeventlistreadhandle, &close);
}

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) {
    fprintf(stderr, "%s\n", argc == 2 ? dlerror() : "use: HeadersC11 LIBRARY");
    return 2;
  }
  int (*entry)(ComponentInitRecord*) = NULL;
  *(void**)&entry = dlsym(library, "ComponentEntry");
  enter(entry);
  readWithoutBus();
  CHECK(dlclose(library) == 0);
  return s_failures == 0 ? 0 : 1;
}
