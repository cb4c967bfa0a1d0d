#include "TestClock.h"

#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace {
timespec g_monotonic = {1000000, 0};
constexpr long kNanosecondsPerMillisecond = 1000000;
constexpr long kNanosecondsPerSecond = 1000000000;
}  // namespace

void advanceMonotonicClock(int milliseconds) {
  g_monotonic.tv_sec += milliseconds / 1000;
  g_monotonic.tv_nsec += milliseconds % 1000 * kNanosecondsPerMillisecond;
  if (g_monotonic.tv_nsec >= kNanosecondsPerSecond) {
    g_monotonic.tv_nsec -= kNanosecondsPerSecond;
    ++g_monotonic.tv_sec;
  }
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
  if (clock != CLOCK_MONOTONIC) return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  *time = g_monotonic;
  return 0;
}
