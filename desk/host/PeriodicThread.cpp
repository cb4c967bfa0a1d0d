#include "PeriodicThread.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t kThreadNameLength = 15;  // the kernel keeps no more

}  // namespace

PeriodicThread::PeriodicThread(std::string name, std::uint32_t periodMilliseconds,
                               std::function<void()> cycle)
    : m_name(std::move(name)),
      m_period(std::chrono::milliseconds(std::max<std::uint32_t>(periodMilliseconds, 1))),
      m_cycle(std::move(cycle)),
      m_thread(&PeriodicThread::run, this) {
  pthread_setname_np(m_thread.native_handle(), m_name.substr(0, kThreadNameLength).c_str());
}

PeriodicThread::~PeriodicThread() {
  requestStop();
  join();
}

void PeriodicThread::requestStop() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_stop = true;
  m_wake.notify_one();
}

void PeriodicThread::join() {
  if (m_thread.joinable()) {
    m_thread.join();
  }
}

bool PeriodicThread::waitUntil(Clock::time_point due) {
  std::unique_lock<std::mutex> lock(m_mutex);
  return !m_wake.wait_until(lock, due, [this] { return m_stop; });
}

void PeriodicThread::run() {
  // Absolute times, so that the durations of cycles do not add up to a drift.
  auto due = Clock::now();
  while (waitUntil(due)) {
    const auto start = Clock::now();
    m_cycle();
    const auto end = Clock::now();
    ++m_record.cycles;
    const auto taken = std::chrono::duration_cast<std::chrono::microseconds>(end - start).count();
    m_record.longestMicroseconds = std::max(m_record.longestMicroseconds, static_cast<std::uint64_t>(taken));
    if (end > due + m_period) {
      ++m_record.overruns;
      due += (end - due) / m_period * m_period;
    }
    due += m_period;
  }
}
