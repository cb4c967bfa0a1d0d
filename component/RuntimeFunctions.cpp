#include "CodesysRuntime.h"

LogAddFunction pfLogAdd = nullptr;
CMUtlMemCpyFunction pfCMUtlMemCpy = nullptr;
CMUtlSafeStrCpyFunction pfCMUtlSafeStrCpy = nullptr;
SysFileOpenFunction pfSysFileOpen = nullptr;
SysFileReadFunction pfSysFileRead = nullptr;
SysFileWriteFunction pfSysFileWrite = nullptr;
SysFileCloseFunction pfSysFileClose = nullptr;
