#pragma once

#include <csignal>
#include <optional>

#include <atomic>

/**
 * Who ends the runtime: a program through finish(), a person through SIGINT or SIGTERM, or the clock.
 *
 * Construct it before any thread is started: it blocks the two signals, and threads inherit that. Once wait()
 * has returned, the main thread takes signals as before: a second one ends a runtime that does not stop.
 */
class EndRequest {
 public:
  /** Throws std::runtime_error when the system has no descriptors left. [init] */
  EndRequest();
  ~EndRequest();
  EndRequest(const EndRequest&) = delete;
  EndRequest& operator=(const EndRequest&) = delete;

  /** Ask the runtime to end with this exit status; the first request counts. [any-thread] */
  void finish(int status);

  /**
   * Wait for the end, once.
   * @param seconds how long at most; nothing waits for ever
   * @return the status that finish() was given, 0 when a signal or the clock came first. [init]
   */
  int wait(std::optional<unsigned> seconds);

  /** Whether a program has asked for the end. [any-thread] */
  bool isFinished() const { return m_status != kNone; }

 private:
  static constexpr int kNone = -1;

  sigset_t m_maskBefore{};
  int m_signals = -1;   ///< readable when one of the two signals has come
  int m_finished = -1;  ///< readable after finish()
  std::atomic<int> m_status{kNone};
};
