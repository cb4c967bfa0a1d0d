#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

using Milliseconds = std::chrono::milliseconds;

/** How long a test waits for something that must come; generous, since a passing test never waits so long. */
constexpr Milliseconds kPatience{20000};

/**
 * Look at `condition` every few milliseconds until it holds.
 * @return false when it does not hold by the deadline. [any-thread]
 */
bool eventually(const std::function<bool()>& condition, Milliseconds deadline = kPatience);

/**
 * A program that runs as a child of the test and is gone with this object at the latest, or with the test.
 * Start children from a thread that lives on: a child dies with the thread that started it. [any-thread]
 */
class ChildProcess {
 public:
  /** @param program a path, or a name looked up in PATH. */
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return m_pid; }

  /** Send a signal; nothing happens once the child has been reaped. */
  void signal(int number) const;

  /** Stop the child as SIGSTOP does, returning when it stands still; resume() lets it go on. */
  void pause() const;
  void resume() const;

  /** End the child at once with SIGKILL and reap it. */
  void kill();

  /** @return the exit status, minus the signal that ended it, or nothing when it still runs at the deadline.
   */
  std::optional<int> wait(Milliseconds deadline = kPatience);

  /** What it has written so far, standard output and standard error together. */
  std::string output() const;

 private:
  pid_t m_pid = -1;
  int m_outputFile = -1;
  std::optional<int> m_status;
};
