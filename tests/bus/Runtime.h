#pragma once

#include <map>
#include <stdexcept>

#include "BusTest.h"
#include "ComponentManager.h"
#include "PeriodicThread.h"
#include "tavroline/tavroline.h"

/** A runtime in this process: loads the library, finds functions by name and calls the hook in a thread. */
class Runtime {
 public:
  static constexpr char kEventReader[] = "eventlistread";
  static constexpr char kAlarmReader[] = "alarmlistread";
  static constexpr char kAlarmHandler[] = "alarmlistwrite";

  Runtime()
      : m_component(TAVROLINE_LIBRARY), m_hook("hook", 5, [this] { m_component.communicationCycle(); }) {}
  ~Runtime() {
    while (!m_open.empty()) {
      close(m_open.begin()->first);
    }
  }

  /** Calls the function of that name, given without "_ext". */
  template <typename Structure>
  void call(const std::string& name, Structure& parameters) const {
    const ExternalFunction function = m_component.find(name + "_ext");
    if (function == nullptr) {
      throw std::runtime_error(name + " is not registered");
    }
    reinterpret_cast<void (*)(Structure*)>(function)(&parameters);
  }
  /** Calls it until it is no longer busy. @return its result */
  template <typename Structure>
  RTS_IEC_INT finish(const std::string& name, Structure parameters) const {
    eventually([&] {
      call(name, parameters);
      return parameters.iResult != TAVROLINE_BUSY;
    });
    return parameters.iResult;
  }

  /** @param kind one of the three above; the handle is the first field of all their structures */
  TavrolineHandle open(const std::string& kind) {
    openalarmlistwritehandle_struct parameters{};
    call("open" + kind + "handle", parameters);
    m_open[parameters.hWriteHandle] = kind;
    return parameters.hWriteHandle;
  }
  /** Closes a handle of any kind. The destructor closes those that are still open. */
  void close(TavrolineHandle handle) {
    closealarmlistwritehandle_struct parameters{handle};
    call("close" + m_open.at(handle) + "handle", parameters);
    m_open.erase(handle);
  }

  void logEvent(const std::string& object, RTS_IEC_INT textSource = 0,
                logevent_struct parameters = {}) const {
    parameters.iEventType = TAVROLINE_EVENT;
    log("logevent", parameters, object, textSource);
  }
  void logAlarm(TavrolineHandle handle, RTS_IEC_INT type, RTS_IEC_INT state) const {
    logalarm_struct parameters{};
    parameters.iEventType = type;
    parameters.iState = state;
    parameters.hWriteHandle = handle;
    log("logalarm", parameters, "Valve", 0);
  }

  /** Loads the newest `count` entries, all with 0. @return 0 or 2 */
  RTS_IEC_INT load(TavrolineHandle handle, RTS_IEC_UINT count = 0) const {
    return finish("loadpartofeventlist", loadpartofeventlist_struct{handle, count, TAVROLINE_BUSY});
  }
  std::vector<stEventlistEntryType> entries(TavrolineHandle handle) const {
    std::vector<stEventlistEntryType> array(1000);
    stGetEventlistEntriesType request{handle, array.data(), 1000, TAVROLINE_ERROR, 0};
    geteventlistentries_struct parameters{&request};
    call("geteventlistentries", parameters);
    array.resize(static_cast<std::size_t>(request.diNumberOfEntries));
    return array;
  }

  /** Calls a function whose structure is a handle and a BOOL. */
  bool flag(const std::string& name, TavrolineHandle handle) const {
    haslistchanged_struct parameters{handle, 0};
    call(name, parameters);
    return parameters.xListChanged != 0;
  }

 private:
  /** Calls with one keyword and no arguments. */
  template <typename Structure>
  void log(const std::string& name, Structure& parameters, const std::string& object,
           RTS_IEC_INT textSource) const {
    stDataType data{};
    stDescriptionArgumentType argument{};
    stDescriptionUrlArgumentType url{};
    data.iTextSource = textSource;
    object.copy(data.sObjectName, sizeof data.sObjectName - 1);
    parameters.psModuleName = "Basin";
    parameters.pstData = &data;
    parameters.iKeywordSize = 6;
    parameters.pasKeywords = "water";
    parameters.pastArguments = &argument;
    parameters.pastUrlArguments = &url;
    parameters.stArgumentsDimInfo = parameters.stUrlArgumentsDimInfo = {0, -1};
    call(name, parameters);
  }

  ComponentManager m_component;
  PeriodicThread m_hook;
  std::map<TavrolineHandle, std::string> m_open;  ///< by handle its kind
};
