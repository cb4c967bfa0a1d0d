#pragma once

#include <functional>
#include <list>
#include <string>

#include "CallMonitor.h"
#include "PeriodicThread.h"
#include "PlcProgram.h"
#include "SharedLibrary.h"

/** One PLC program: loads it, runs each of its tasks in a thread, stops and unloads it. */
class PlcApplication {
 public:
  /**
   * Load the program and call its entry, which describes its tasks; none runs yet. Throws std::runtime_error
   * when it cannot be loaded, refuses to start, or describes a task without a name, function or period.
   * @param monitor must outlive this object
   * @param onFinish called when the program asks for the end, with its exit status. [init]
   */
  PlcApplication(const std::string& path, CallMonitor& monitor, std::function<void(int)> onFinish);
  /** Stop, unless stop() was called, and unload. [init] */
  ~PlcApplication();
  PlcApplication(const PlcApplication&) = delete;
  PlcApplication& operator=(const PlcApplication&) = delete;

  /** Start the tasks. [init] */
  void start();

  /** End the tasks, each after its present cycle, then call the program's stop function. [init] */
  void stop();

  /** The tasks; empty before start(). Their records are complete after stop(). [init] */
  const std::list<PeriodicThread>& tasks() const { return m_tasks; }

 private:
  static ExternalFunction findFunction(void* context, const char* name);
  static void finish(void* context, int status);

  std::string m_path;
  CallMonitor& m_monitor;
  std::function<void(int)> m_finish;
  PlcRuntime m_runtime;
  SharedLibrary m_library;
  PlcProgram m_program{};
  std::list<PeriodicThread> m_tasks;  ///< a list: threads do not move
  bool m_stopped = false;
};
