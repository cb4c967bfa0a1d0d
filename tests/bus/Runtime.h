#pragma once

#include "BusTest.h"
#include "ComponentManager.h"
#include "PeriodicThread.h"
#include "PlcCalls.h"

/** A runtime in this process: loads the library, finds functions by name and calls the hook in a thread. */
class Runtime : public PlcCalls {
 public:
  Runtime()
      : PlcCalls([this](const std::string& name) { return m_component.find(name); }),
        m_component(TAVROLINE_LIBRARY),
        m_hook("hook", 5, [this] { m_component.communicationCycle(); }) {}
  ~Runtime() { closeAll(); }

  /** Calls a function until it is no longer busy. @return its result */
  template <typename Structure>
  RTS_IEC_INT finish(const std::string& name, Structure parameters) const {
    eventually([&] {
      call(name, parameters);
      return parameters.iResult != TAVROLINE_BUSY;
    });
    return parameters.iResult;
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

 private:
  /** Calls with one keyword and no arguments. */
  template <typename Structure>
  void log(const std::string& name, Structure& parameters, const std::string& object,
           RTS_IEC_INT textSource) const {
    stDataType data{};
    data.iTextSource = textSource;
    object.copy(data.sObjectName, sizeof data.sObjectName - 1);
    parameters.stArgumentsDimInfo = parameters.stUrlArgumentsDimInfo = {0, -1};
    PlcCalls::log(name, parameters, data);
  }

  ComponentManager m_component;
  PeriodicThread m_hook;
};
