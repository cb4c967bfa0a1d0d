#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SharedLibrary.h"
#include "tavroline/component.h"

/**
 * The runtime's component manager, for one component: loads the library, calls its entry, lets it import the
 * runtime functions and register its function tables. The destructor unloads the library.
 *
 * It calls nothing periodically. The caller of the hook and of the functions must have stopped before the
 * destructor runs.
 */
class ComponentManager {
 public:
  /** One registered external function; the name is a copy. */
  struct Function {
    std::string name;
    ExternalFunction function;
    std::uint32_t signatureId;
    std::uint32_t version;
  };

  /**
   * Load the component, import and export. Throws std::runtime_error when a step fails. Construct one object
   * at a time: the interface's callbacks carry no context. [init]
   */
  explicit ComponentManager(const std::string& path);

  /** The external functions in the order of their registration. [any-thread] */
  const std::vector<Function>& functions() const { return m_functions; }

  /** The external function that the component registered under this name; null if it registered no such
   * function. [any-thread] */
  ExternalFunction find(const std::string& name) const;

  /** Call the component's hook of the communication cycle. [hook] */
  void communicationCycle() const;

  std::uint32_t componentId() const { return static_cast<std::uint32_t>(m_record.ulComponentId); }
  std::uint32_t version() const { return m_record.pfGetVersion(); }

 private:
  static RTS_RESULT registerApi(const ExternalFunctionEntry* table, std::uintptr_t reserved,
                                std::uintptr_t external, std::uintptr_t componentId);
  static RTS_RESULT getApi(const char* name, void** variable, std::uintptr_t option,
                           std::uintptr_t signatureId, std::uintptr_t version);

  SharedLibrary m_library;
  ComponentInitRecord m_record{};
  std::vector<Function> m_functions;
};
