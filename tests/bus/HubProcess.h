#pragma once

#include <atomic>

/** What a test sees and steers of the process in which a hub runs: its clock, its waits, its connections. */
struct HubProcess {
  std::atomic<int> secondsAhead{0};   ///< added to the monotonic clock, so that no test waits for a deadline
  std::atomic<unsigned> waits{0};     ///< calls of poll(); the hub's thread ends each turn with one
  std::atomic<int> hubThread{0};      ///< the thread that called it last
  std::atomic<int> lastWait{0};       ///< their last timeout, in ms
  std::atomic<unsigned> lies{0};      ///< calls of poll() that have lied
  std::atomic<bool> pollLies{false};  ///< poll() reports at once that a descriptor is ready
  std::atomic<bool> skipsWaits{false};   ///< poll() returns after 1 ms, and the clock has moved by the rest
  std::atomic<int> lastSocket{-1};       ///< of the last connect()
  std::atomic<unsigned> connections{0};  ///< calls of connect()
};

extern HubProcess s_process;
