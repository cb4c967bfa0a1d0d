#include "CodesysRuntime.h"
#include "tavroline/conventions.h"

// The device's client libraries find these variables by name; the runtime's header declares their types.
TAVROLINE_EXPORT decltype(pfLogAdd) pfLogAdd = nullptr;
TAVROLINE_EXPORT decltype(pfCMUtlMemCpy) pfCMUtlMemCpy = nullptr;
TAVROLINE_EXPORT decltype(pfCMUtlSafeStrCpy) pfCMUtlSafeStrCpy = nullptr;
TAVROLINE_EXPORT decltype(pfSysFileOpen) pfSysFileOpen = nullptr;
TAVROLINE_EXPORT decltype(pfSysFileRead) pfSysFileRead = nullptr;
TAVROLINE_EXPORT decltype(pfSysFileWrite) pfSysFileWrite = nullptr;
TAVROLINE_EXPORT decltype(pfSysFileClose) pfSysFileClose = nullptr;
