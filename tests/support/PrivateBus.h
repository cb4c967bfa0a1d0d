#pragma once

#include <optional>
#include <string>

#include "ChildProcess.h"

/**
 * A dbus-daemon of type `system` with a temporary folder of its own. While the object lives, the system bus
 * of this process and of its children is this one, also after a restart of the daemon. One at a time.
 */
class PrivateBus {
 public:
  /** Create the folder, set DBUS_SYSTEM_BUS_ADDRESS and start the daemon. Throws when it does not come up. */
  PrivateBus();
  /** End the daemon and remove the folder with everything in it. */
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  /** Start the daemon again after stop(), at the same address; returns when it listens. */
  void start();
  /** End the daemon at once; clients see their connection break. */
  void stop();
  /** Let the daemon stand still: the socket accepts, nobody answers. */
  void pause() const;
  void resume() const;

  /** Wait until somebody owns `name`, or nobody. @return false at the deadline, or when the bus is not there.
   */
  bool waitForName(const std::string& name, bool owned = true) const;

  /** The temporary folder, for files of the test. */
  const std::string& folder() const { return m_folder; }

 private:
  std::string m_folder;
  std::optional<ChildProcess> m_daemon;
};
