#include "PeriodicThread.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1000000000;
constexpr std::size_t kThreadNameLength = 15;  // the kernel keeps no more

std::uint64_t now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * kNanosecondsPerSecond +
         static_cast<std::uint64_t>(time.tv_nsec);
}

/** Absolute, so that the time a cycle takes does not add up to a drift. */
void sleepUntil(std::uint64_t due) {
  timespec time{};
  time.tv_sec = static_cast<time_t>(due / kNanosecondsPerSecond);
  time.tv_nsec = static_cast<long>(due % kNanosecondsPerSecond);
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) == EINTR) {
  }
}

}  // namespace

PeriodicThread::PeriodicThread(std::string name, std::uint32_t periodMilliseconds,
                               std::function<void()> cycle)
    : m_name(std::move(name)),
      m_period(std::max<std::uint64_t>(periodMilliseconds, 1) * 1000000),
      m_cycle(std::move(cycle)),
      m_thread(&PeriodicThread::run, this) {
  pthread_setname_np(m_thread.native_handle(), m_name.substr(0, kThreadNameLength).c_str());
}

PeriodicThread::~PeriodicThread() {
  requestStop();
  join();
}

void PeriodicThread::join() {
  if (m_thread.joinable()) m_thread.join();
}

void PeriodicThread::run() {
  std::uint64_t due = now();
  while (!m_stop) {
    const std::uint64_t start = now();
    m_cycle();
    const std::uint64_t end = now();
    ++m_record.cycles;
    m_record.longestMicroseconds = std::max(m_record.longestMicroseconds, (end - start) / 1000);
    if (end > due + m_period) {
      ++m_record.overruns;
      due += (end - due) / m_period * m_period;
    }
    due += m_period;
    sleepUntil(due);
  }
}
