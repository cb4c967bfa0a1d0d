#pragma once

#include <optional>
#include <string>

#include "ChildProcess.h"

/** A dbus-daemon in a temporary folder: the system bus of this process and its children. One at a time. */
class PrivateBus {
 public:
  /** @throws std::runtime_error if the daemon does not start */
  PrivateBus();
  /** Stops the daemon and removes the folder. The address stays, so that nothing reaches this machine's bus.
   */
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  /** Starts the daemon again at the same address; returns when it listens. */
  void start();
  /** Kills the daemon; clients lose their connection. */
  void stop();
  /** Stops the daemon's process: connections succeed, nothing is answered. */
  void pause() const { m_daemon->pause(); }
  void resume() const { m_daemon->resume(); }

  /** Lets the daemon start `command` when the owner of `name` is needed. */
  void addService(const std::string& name, const std::string& command) const;

  /** Waits until `name` has an owner or none. @return false at the deadline */
  bool waitForName(const std::string& name, bool owned = true) const;

  /** The temporary folder, for files of the test. */
  const std::string& folder() const { return m_folder; }

 private:
  std::string m_folder;
  std::optional<ChildProcess> m_daemon;
};
