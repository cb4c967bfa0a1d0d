#include "ComponentManager.h"

#include <algorithm>
#include <stdexcept>

#include "RuntimeFunctions.h"

namespace {

constexpr RTS_RESULT kOk = 0;
constexpr RTS_RESULT kRefused = 1;

/** The manager whose component is exporting its functions now, else null: the interface's callbacks carry no
 * context. */
ComponentManager* s_entering = nullptr;

/** Fills the words of those runtime services that this host does not offer. */
void unusedService() {}

void check(const char* step, RTS_RESULT result) {
  if (result != kOk) {
    throw std::runtime_error(std::string("the component failed at ") + step + ": " + std::to_string(result));
  }
}

}  // namespace

ComponentManager::ComponentManager(const std::string& path) : m_library(path) {
  if (!m_library.exports("ComponentEntry")) {
    throw std::runtime_error(path +
                             " is neither a component nor a PLC program: it exports no ComponentEntry");
  }
  const auto enter = m_library.function<int (*)(ComponentInitRecord*)>("ComponentEntry");
  m_record.pfRegisterApi = registerApi;
  std::fill(std::begin(m_record.pfServices), std::end(m_record.pfServices), unusedService);
  m_record.pfGetApi = getApi;
  check("its entry", static_cast<RTS_RESULT>(enter(&m_record)));
  if (m_record.pfImportFunctions == nullptr || m_record.pfExportFunctions == nullptr ||
      m_record.pfHookFunction == nullptr || m_record.pfGetVersion == nullptr) {
    throw std::runtime_error("the component left a function of its init record empty");
  }
  check("import", m_record.pfImportFunctions());

  s_entering = this;
  const RTS_RESULT exported = m_record.pfExportFunctions();
  s_entering = nullptr;
  check("export", exported);
}

ExternalFunction ComponentManager::find(const std::string& name) const {
  const auto found = std::find_if(m_functions.begin(), m_functions.end(),
                                  [&name](const Function& row) { return row.name == name; });
  return found == m_functions.end() ? nullptr : found->function;
}

void ComponentManager::communicationCycle() const {
  m_record.pfHookFunction(TAVROLINE_HOOK_COMM_CYCLE, 0, 0);
}

RTS_RESULT ComponentManager::registerApi(const ExternalFunctionEntry* table, std::uintptr_t,
                                         std::uintptr_t external, std::uintptr_t componentId) {
  if (table == nullptr || s_entering == nullptr || componentId != s_entering->m_record.ulComponentId) {
    return kRefused;
  }
  for (const ExternalFunctionEntry* row = table; *row->pszName != '\0'; ++row) {
    if (row->pfFunction == nullptr || s_entering->find(row->pszName) != nullptr) {
      return kRefused;
    }
    // Programs look up external functions only; nothing here reads a table meant for other components.
    if (external != 0) {
      s_entering->m_functions.push_back({row->pszName, row->pfFunction,
                                         static_cast<std::uint32_t>(row->ulSignatureId),
                                         static_cast<std::uint32_t>(row->ulVersion)});
    }
  }
  return kOk;
}

RTS_RESULT ComponentManager::getApi(const char* name, void** variable, std::uintptr_t, std::uintptr_t,
                                    std::uintptr_t) {
  void* found = RuntimeFunctions::find(name);
  if (found == nullptr) {
    return kRefused;
  }
  *variable = found;
  return kOk;
}
