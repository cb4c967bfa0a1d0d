/*
 * A C program on the C headers: opens, reads and closes an empty event list by the library's exports, with no
 * bus at all.
 *
 * Use: HeadersC11 LIBRARY
 */
#include <dlfcn.h>
#include <stdio.h>

#include "tavroline/tavroline.h"

/* What dlsym gives, as the type that the header declares. */
#define CALL(name, parameters) ((__typeof__(&(name)))(uintptr_t)dlsym(library, #name))(parameters)

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) {
    return fprintf(stderr, "use: HeadersC11 LIBRARY\n"), 2;
  }
  openeventlistreadhandle_struct open = {0, NULL};
  CALL(openeventlistreadhandle_ext, &open);
  stEventlistEntryType entry;
  stGetEventlistEntriesType request = {open.hReadHandle, &entry, 1, 9, 9};
  geteventlistentries_struct get = {&request};
  CALL(geteventlistentries_ext, &get);
  closeeventlistreadhandle_struct close = {open.hReadHandle};
  CALL(closeeventlistreadhandle_ext, &close);
  const int passed =
      open.xSuccess == 1 && request.iResult == TAVROLINE_DONE && request.diNumberOfEntries == 0;
  return passed && dlclose(library) == 0 ? 0 : 1;
}
