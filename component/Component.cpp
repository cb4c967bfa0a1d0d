#include "tavroline/component.h"
#include "ExternalFunction.h"
#include "ExternalFunctionTable.h"
#include "RuntimeLog.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"

namespace {

// The runtime's services, kept from words 7 to 13 of the init record.
RegisterApiFunction pfRegisterApi = nullptr;
RuntimeService pfService8 = nullptr;
RuntimeService pfService9 = nullptr;
RuntimeService pfService10 = nullptr;
RuntimeService pfService11 = nullptr;
RuntimeService pfService12 = nullptr;
GetApiFunction pfGetApi = nullptr;

}  // namespace

namespace Tavroline {
namespace {

constexpr char kFile[] = "Component";
constexpr RTS_RESULT kFailed = 1;
constexpr RTS_RESULT kNoService = 3;

struct Import {
  const char* name;
  void** variable;
  std::uintptr_t option;
};

template <typename Function>
void** variable(Function*& function) {
  return reinterpret_cast<void**>(&function);
}

RTS_RESULT lookUpRuntimeFunctions() {
  if (pfGetApi == nullptr) {
    return kNoService;
  }
  const Import imports[] = {
      {"LogAdd", variable(pfLogAdd), 2},
      {"CMUtlMemCpy", variable(pfCMUtlMemCpy), 2},
      {"SysFileWrite", variable(pfSysFileWrite), 2},
      {"SysFileRead", variable(pfSysFileRead), 2},
      {"SysFileClose", variable(pfSysFileClose), 2},
      {"SysFileOpen", variable(pfSysFileOpen), 2},
      {"CMUtlSafeStrCpy", variable(pfCMUtlSafeStrCpy), 0},
  };
  RTS_RESULT result = kFailed;
  for (const Import& import : imports) {
    result = pfGetApi(import.name, import.variable, import.option, 0, 0);
  }
  return result;  // of the last look-up; the others are not examined
}

RTS_RESULT registerTables() {
  if (pfRegisterApi == nullptr) {
    return kNoService;
  }
  const std::uint32_t id = ComponentId();
  const RTS_RESULT result = pfRegisterApi(ExternalFunctionTable, 0, 1, id);
  return result != 0 ? result : pfRegisterApi(EmptyFunctionTable, 0, 0, id);
}

}  // namespace
}  // namespace Tavroline

using namespace Tavroline;

namespace {

RTS_RESULT ImportFunctions() {
  RTS_RESULT result = kFailed;
  externalFunction({kFile, "RTS_RESULT ImportFunctions()", __LINE__},
                   [&] { result = lookUpRuntimeFunctions(); });
  return result;
}

RTS_RESULT ExportFunctions() {
  RTS_RESULT result = kFailed;
  externalFunction({kFile, "RTS_RESULT ExportFunctions()", __LINE__}, [&] { result = registerTables(); });
  return result;
}

std::uint32_t GetVersion() {
  return TAVROLINE_COMPONENT_VERSION;
}

RTS_RESULT HookFunction(std::uint32_t hook, std::uintptr_t /*parameter1*/, std::uintptr_t /*parameter2*/) {
  if (hook == TAVROLINE_HOOK_COMM_CYCLE) {
    const Origin origin{kFile, "RTS_RESULT HookFunction(uint32_t, uintptr_t, uintptr_t)", __LINE__};
    // Two guards: if the poll of one list fails, the other list is still polled.
    externalFunction(origin, [] { TavrolineAlarmlistRead::pollDBusSignals(); });
    externalFunction(origin, [] { TavrolineEventlistRead::pollDBusSignals(); });
  }
  return 0;
}

}  // namespace

int ComponentEntry(ComponentInitRecord* record) {
  int result = kFailed;
  externalFunction({kFile, "int ComponentEntry(ComponentInitRecord*)", __LINE__}, [&] {
    if (record == nullptr) {
      return;
    }
    record->ulComponentId = ComponentId();
    record->pfExportFunctions = ExportFunctions;
    record->pfImportFunctions = ImportFunctions;
    record->pfGetVersion = GetVersion;
    record->pfUnused4 = nullptr;
    record->pfUnused5 = nullptr;
    record->pfHookFunction = HookFunction;
    pfRegisterApi = record->pfRegisterApi;
    pfService8 = record->pfServices[0];
    pfService9 = record->pfServices[1];
    pfService10 = record->pfServices[2];
    pfService11 = record->pfServices[3];
    pfService12 = record->pfServices[4];
    pfGetApi = record->pfGetApi;
    result = 0;
  });
  return result;
}
