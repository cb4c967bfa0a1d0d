#pragma once

#include <dlfcn.h>

/** The next definition of a function, the library's own. */
template <typename Function>
Function* nextDefinition(Function* /*same*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/** The library's own function of a name that this program defines. */
#define REAL(function)                                            \
  [] {                                                            \
    static auto* const own = nextDefinition(function, #function); \
    return own;                                                   \
  }()
