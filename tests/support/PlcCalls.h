#pragma once

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

#include "tavroline/component.h"
#include "tavroline/tavroline.h"

/**
 * External functions as a PLC program calls them: found by name, given without "_ext". A handle is the first
 * field of each structure that has one, so one structure serves many functions.
 */
class PlcCalls {
 public:
  using Find = std::function<ExternalFunction(const std::string&)>;
  static constexpr char kEventReader[] = "eventlistread";
  static constexpr char kAlarmReader[] = "alarmlistread";
  static constexpr char kAlarmHandler[] = "alarmlistwrite";

  explicit PlcCalls(Find find) : m_find(std::move(find)) {}

  template <typename Structure>
  void call(const std::string& name, Structure& parameters) const {
    const ExternalFunction function = m_find(name + "_ext");
    if (function == nullptr) {
      throw std::runtime_error(name + " is not registered");
    }
    reinterpret_cast<void (*)(Structure*)>(function)(&parameters);
  }

  /** Calls a function whose structure is a handle and a BOOL. */
  bool flag(const std::string& name, TavrolineHandle handle) const {
    haslistchanged_struct parameters{handle, 0};
    call(name, parameters);
    return parameters.xListChanged != 0;
  }

  /** Calls a log function with one keyword. */
  template <typename Structure>
  void log(const std::string& name, Structure& parameters, const stDataType& data,
           const stDescriptionArgumentType& argument = {}) const {
    const stDescriptionUrlArgumentType url{};
    parameters.psModuleName = "Basin";
    parameters.pstData = &data;
    parameters.iKeywordSize = 6;
    parameters.pasKeywords = "water";
    parameters.pastArguments = &argument;
    parameters.pastUrlArguments = &url;
    call(name, parameters);
  }

  /** @param kind one of the three above */
  TavrolineHandle open(const std::string& kind) {
    openalarmlistwritehandle_struct parameters{};
    call("open" + kind + "handle", parameters);
    m_open[parameters.hWriteHandle] = kind;
    return parameters.hWriteHandle;
  }
  void close(TavrolineHandle handle) {
    closealarmlistwritehandle_struct parameters{handle};
    call("close" + m_open.at(handle) + "handle", parameters);
    m_open.erase(handle);
  }
  void closeAll() {
    while (!m_open.empty()) {
      close(m_open.begin()->first);
    }
  }

 private:
  Find m_find;
  std::map<TavrolineHandle, std::string> m_open;  ///< by handle its kind
};
