#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Broker.h"

/**
 * The list services of a run, in a fibre that may be killed and started again. Its stores are files in a
 * folder of their own, which the destructor removes.
 */
class SimService {
 public:
  /** A store, and when the service lost it: nanoseconds since 1970 on the wall clock. */
  struct Store {
    std::string file;
    std::optional<Nanoseconds> lost;
  };

  /** @param broker must outlive this object. The service is not started. */
  SimService(Broker& broker, std::int64_t capacity);
  ~SimService();
  SimService(const SimService&) = delete;
  SimService& operator=(const SimService&) = delete;

  /** Start it if it does not run; it takes its name a little later. @param file a store, else the last one */
  void start(const std::string& file = {});
  /** End it as a kill does: what it has not sent yet is lost, what is stored stays. */
  void kill();
  /** End it as SIGTERM does. */
  void stop();
  /** Let it not run before that time. */
  void hold(Nanoseconds until);

  /** Let another one with an empty store take the name; this one goes on until endReplaced(). */
  void replace();
  void endReplaced();

  /** Lose the present store, while the service does not run. @param copy go on with a copy of an older state
   */
  void loseStore(bool copy);

  /** All stores, the present one last. */
  const std::vector<Store>& stores() const { return m_stores; }

 private:
  /** What runs a service. */
  struct Process {
    Scheduler::Fibre* fibre = nullptr;
    bool ended = false;
    int stop = -1;  ///< an eventfd
  };

  void run(const std::string& file, Process& process);
  static void end(std::unique_ptr<Process>& process);

  Broker& m_broker;
  std::int64_t m_capacity;
  std::string m_folder;
  std::vector<Store> m_stores;
  std::unique_ptr<Process> m_process;
  std::unique_ptr<Process> m_replaced;
};
