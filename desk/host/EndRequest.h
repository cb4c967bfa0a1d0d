#pragma once

#include <csignal>
#include <optional>

#include <atomic>

/**
 * Waits for the end of the runtime: a program calls finish(), a user sends SIGINT or SIGTERM, or the time is
 * up.
 *
 * Construct it before any thread is started: it blocks the two signals, and threads inherit that. wait()
 * unblocks them on the main thread before it returns, so that a second signal kills a runtime that does not
 * stop.
 */
class EndRequest {
 public:
  /** Blocks the signals. Throws std::runtime_error when no file descriptor is free. [init] */
  EndRequest();
  ~EndRequest();
  EndRequest(const EndRequest&) = delete;
  EndRequest& operator=(const EndRequest&) = delete;

  /** Ask the runtime to end with this exit status (its lowest 8 bits); the first request counts. [any-thread]
   */
  void finish(int status);

  /**
   * Wait for the end, once.
   * @param seconds the longest wait; no value: no limit
   * @return the status given to finish(), 0 if a signal or the end of the time was first. [init]
   */
  int wait(std::optional<unsigned> seconds);

  /** Whether a program has asked for the end. [any-thread] */
  bool isFinished() const { return m_status != kNone; }

 private:
  static constexpr int kNone = -1;

  sigset_t m_maskBefore{};
  int m_signals = -1;   ///< signalfd of the two signals
  int m_finished = -1;  ///< eventfd that finish() sets
  std::atomic<int> m_status{kNone};
};
