#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ComponentManager.h"
#include "ListServiceNames.h"
#include "PeriodicThread.h"
#include "PrivateBus.h"
#include "tavroline/tavroline.h"

/** The list service as a child; on the bus when the object is there. */
class Service {
 public:
  explicit Service(const PrivateBus& bus) : m_process(TAVROLINE_LISTD, {}) {
    if (!bus.waitForName(ListServiceNames::kService)) throw std::runtime_error(m_process.output());
  }
  ChildProcess& process() { return m_process; }

 private:
  ChildProcess m_process;
};

/** What one entry is made of; the memory that its parameter structure points to. */
struct Message {
  std::string icon;
  std::string module = "Basin";
  std::string object = "Valve";
  RTS_IEC_INT textSource = 0;
  std::u16string user;
  RTS_IEC_DATE_AND_TIME time = 0;
  stDataType data{};
  char keywords[2][21] = {"water", "north"};
  stDescriptionArgumentType argument{};
  stDescriptionUrlArgumentType url{};

  /** A logevent_struct or logalarm_struct of this message. */
  template <typename Structure>
  Structure parameters(RTS_IEC_INT type, RTS_IEC_INT state) {
    data.iTextSource = textSource;
    std::copy_n(object.c_str(), object.size() + 1, data.sObjectName);
    Structure result{};
    result.iEventType = type;
    result.iState = state;
    result.psIconType = icon.c_str();
    result.psModuleName = module.c_str();
    result.dtDateTime = time;
    result.pstData = &data;
    result.pwsUser = reinterpret_cast<const RTS_IEC_WSTRING*>(user.c_str());
    result.iKeywordSize = sizeof keywords[0];
    result.pasKeywords = keywords[0];
    result.stKeywordsDimInfo = {0, 1};
    result.pastArguments = &argument;
    result.pastUrlArguments = &url;
    result.stArgumentsDimInfo = result.stUrlArgumentsDimInfo = {0, -1};
    return result;
  }
};

/** A runtime in this process: the library, its functions by their registered names, its hook in a thread. */
class Runtime {
 public:
  Runtime()
      : m_component(TAVROLINE_LIBRARY), m_hook("hook", 5, [this] { m_component.communicationCycle(); }) {}
  ~Runtime() {
    while (!m_open.empty())
      close(m_open.begin()->first);
  }
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  /** Call the function of that name, without its "_ext". */
  template <typename Structure>
  void call(const std::string& name, Structure& parameters) const {
    const ExternalFunction function = m_component.find(name + "_ext");
    if (function == nullptr) throw std::runtime_error(name + " is not registered");
    reinterpret_cast<void (*)(Structure*)>(function)(&parameters);
  }

  TavrolineHandle openEvents() {
    return open<openeventlistreadhandle_struct>("eventlistread",
                                                &openeventlistreadhandle_struct::hReadHandle);
  }
  TavrolineHandle openAlarms() {
    return open<openalarmlistreadhandle_struct>("alarmlistread",
                                                &openalarmlistreadhandle_struct::hReadHandle);
  }
  TavrolineHandle openAlarm() {
    return open<openalarmlistwritehandle_struct>("alarmlistwrite",
                                                 &openalarmlistwritehandle_struct::hWriteHandle);
  }

  /** Close a handle of any kind; what is still open at the end is closed then. */
  void close(TavrolineHandle handle) {
    closealarmlistwritehandle_struct parameters{handle};
    call("close" + m_open.at(handle) + "handle", parameters);
    m_open.erase(handle);
  }

  void logEvent(RTS_IEC_INT type, RTS_IEC_INT state, Message message) const {
    auto parameters = message.parameters<logevent_struct>(type, state);
    call("logevent", parameters);
  }
  void logAlarm(TavrolineHandle handle, RTS_IEC_INT type, RTS_IEC_INT state) const {
    Message message;
    auto parameters = message.parameters<logalarm_struct>(type, state);
    parameters.hWriteHandle = handle;
    call("logalarm", parameters);
  }

  /** Load to the end: 0 or 2. `count` 0 is the complete list. */
  RTS_IEC_INT load(TavrolineHandle handle, RTS_IEC_UINT count = 0) const {
    loadpartofeventlist_struct step{handle, count, TAVROLINE_BUSY};
    eventually([&] { return call("loadpartofeventlist", step), step.iResult != TAVROLINE_BUSY; });
    return step.iResult;
  }

  std::vector<stEventlistEntryType> entries(TavrolineHandle handle) const {
    std::vector<stEventlistEntryType> array(100);
    stGetEventlistEntriesType request{handle, array.data(), 100, TAVROLINE_ERROR, 0};
    geteventlistentries_struct parameters{&request};
    call("geteventlistentries", parameters);
    array.resize(static_cast<std::size_t>(request.diNumberOfEntries));
    return array;
  }

  /** Load anew until the list holds so many entries. */
  bool loadsEventually(TavrolineHandle handle, std::size_t count) const {
    return eventually([&] { return load(handle) == TAVROLINE_DONE && entries(handle).size() == count; });
  }

  /** A flag that a function writes into the byte behind the handle. */
  bool flag(const std::string& name, TavrolineHandle handle) const {
    haslistchanged_struct parameters{handle, 0};
    call(name, parameters);
    return parameters.xListChanged != 0;
  }

 private:
  template <typename Structure>
  TavrolineHandle open(const std::string& kind, TavrolineHandle Structure::*field) {
    Structure parameters{};
    call("open" + kind + "handle", parameters);
    m_open[parameters.*field] = kind;
    return parameters.*field;
  }

  ComponentManager m_component;
  PeriodicThread m_hook;
  std::map<TavrolineHandle, std::string> m_open;  ///< by handle its kind
};
