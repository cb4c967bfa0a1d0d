#pragma once

#include <pthread.h>

namespace Tavroline {

/**
 * A mutex with priority inheritance: a PLC task that waits for the mutex lends its priority to the thread
 * that holds the mutex. On a system without priority inheritance, the class is an ordinary mutex.
 * [any-thread]
 */
class PriorityMutex {
 public:
  PriorityMutex() noexcept {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    m_inherits = pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT) == 0 &&
                 pthread_mutex_init(&m_mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    if (!m_inherits) {
      pthread_mutex_init(&m_mutex, nullptr);
    }
  }
  ~PriorityMutex() { pthread_mutex_destroy(&m_mutex); }
  PriorityMutex(const PriorityMutex&) = delete;
  PriorityMutex& operator=(const PriorityMutex&) = delete;

  void lock() noexcept { pthread_mutex_lock(&m_mutex); }
  void unlock() noexcept { pthread_mutex_unlock(&m_mutex); }

  /** Whether the mutex has priority inheritance. */
  bool inherits() const noexcept { return m_inherits; }

 private:
  pthread_mutex_t m_mutex;
  bool m_inherits = false;
};

}  // namespace Tavroline
