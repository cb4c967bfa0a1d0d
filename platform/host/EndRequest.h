#pragma once

#include <atomic>
#include <optional>

/**
 * Who ends the runtime: a program through finish(), a person through SIGINT or SIGTERM, or the clock.
 *
 * Construct it before any thread is started: it blocks the two signals, and threads inherit that.
 */
class EndRequest {
 public:
  EndRequest();

  /** Ask the runtime to end with this exit status; the first request counts. [any-thread] */
  void finish(int status);

  /**
   * Wait for the end.
   * @param seconds how long at most; nothing waits for ever
   * @return the status that finish() was given, 0 when a signal or the clock came first. [init]
   */
  int wait(std::optional<unsigned> seconds) const;

 private:
  static constexpr int kNone = -1;
  std::atomic<int> m_status{kNone};
};
