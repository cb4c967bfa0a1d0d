#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

using Milliseconds = std::chrono::milliseconds;

/** How long a test waits for an event before it fails. */
constexpr Milliseconds kPatience{20000};

/** Checks `condition` every few milliseconds. @return false if it does not hold by the deadline */
bool eventually(const std::function<bool()>& condition, Milliseconds deadline = kPatience);

/** A child process of the test. It is killed with this object, and when the thread that started it ends. */
class ChildProcess {
 public:
  /** @param program a path or a name in PATH */
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return m_pid; }

  /** Sends a signal unless the child has been reaped. */
  void signal(int number) const;

  /** Stops the child with SIGSTOP; returns when it has stopped. */
  void pause() const;
  void resume() const;

  /** Kills the child with SIGKILL and reaps it. */
  void kill();

  /** @return the exit status, the negative signal that ended it, or nothing if it still runs */
  std::optional<int> wait(Milliseconds deadline = kPatience);

  /** Standard output and standard error so far. */
  std::string output() const;

 private:
  pid_t m_pid = -1;
  int m_outputFile = -1;
  std::optional<int> m_status;
};
