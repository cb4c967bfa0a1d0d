#pragma once

#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Broker.h"
#include "CallMonitor.h"
#include "ComponentManager.h"
#include "FaultPlan.h"
#include "PeriodicThread.h"
#include "PlcApplication.h"
#include "SimOptions.h"
#include "SimService.h"

/** The course of one run: component, programs, services and bus, and the faults of the plan. */
class Course {
 public:
  /** Start everything. @throws std::runtime_error when a file cannot be loaded or started */
  explicit Course(const SimOptions& options);
  ~Course();
  Course(const Course&) = delete;
  Course& operator=(const Course&) = delete;

  /** Run until the virtual time is over, a signal has come, or the library has to be unloaded. After faults
   * everything is healthy for kHealthy at the end. @return false if the library has to be unloaded at once */
  bool run();
  static constexpr Nanoseconds kHealthy = 45 * kSecond;  // a lost call is given up after 30

  /** End the faults that were active when the library had to be unloaded, and wait until the service has
   * turned its alarms off. */
  void outliveUnload();

  /** Stop the programs; their calls are then counted. */
  void stopPrograms();
  const CallMonitor& monitor() const { return *m_monitor; }
  /** Unload the library; the programs have been stopped. */
  void unload();

  SimService& service() { return m_service; }
  const Broker& broker() const { return m_broker; }
  const std::vector<Fault>& plan() const { return m_plan; }
  /** Pairs of wall-clock times between which the service could not store. */
  const std::vector<std::pair<Nanoseconds, Nanoseconds>>& unable() const { return m_unable; }

 private:
  bool runFaults(Nanoseconds start);
  void endFaults();
  void waitUntil(Nanoseconds time);
  void waitHealthy(Nanoseconds time);
  void begin(const Fault& fault);
  void apply();
  void noteFinish(const std::string& program, int status);

  const SimOptions& m_options;
  std::vector<Fault> m_plan;
  std::vector<const Fault*> m_active;
  std::vector<std::pair<Nanoseconds, Nanoseconds>> m_unable;
  Broker m_broker;
  Scheduler::Fibre* m_bus;
  SimService m_service;
  std::set<std::string> m_finished;  ///< programs that have asked for the end
  Nanoseconds m_end = 0;
  std::int64_t m_shown = 0;
  std::int64_t m_begun = 0;

  std::unique_ptr<ComponentManager> m_component;
  std::unique_ptr<CallMonitor> m_monitor;
  std::list<PlcApplication> m_applications;
  std::unique_ptr<PeriodicThread> m_hook;
};
