#pragma once

#if defined(__SANITIZE_THREAD__)
#define TAVROLINE_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TAVROLINE_THREAD_SANITIZER 1
#endif
#endif

#ifdef TAVROLINE_THREAD_SANITIZER
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#endif

/**
 * Holds a mutex for a scope. Qt's recursive mutexes are invisible to ThreadSanitizer, so its builds are told
 * here.
 */
template <typename Mutex>
class LockGuard {
 public:
  explicit LockGuard(Mutex& mutex) : m_mutex(mutex) {
    m_mutex.lock();
#ifdef TAVROLINE_THREAD_SANITIZER
    __tsan_acquire(&m_mutex);
#endif
  }

  ~LockGuard() {
#ifdef TAVROLINE_THREAD_SANITIZER
    __tsan_release(&m_mutex);
#endif
    m_mutex.unlock();
  }

  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  Mutex& m_mutex;
};
