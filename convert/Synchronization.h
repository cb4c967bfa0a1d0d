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

namespace Tavroline {

/** Holds a mutex for a scope. ThreadSanitizer does not see Qt's recursive mutexes, so it is told here. */
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

/**
 * Single-byte flags that one thread writes under a lock and others read without it. They are plain bools in
 * the classes' layout; every access uses these two functions. [any-thread]
 */
namespace SharedFlag {

inline bool load(const bool& flag) {
  return __atomic_load_n(&flag, __ATOMIC_RELAXED);
}
inline void store(bool& flag, bool value) {
  __atomic_store_n(&flag, value, __ATOMIC_RELAXED);
}

}  // namespace SharedFlag

/**
 * Replaces a text that another thread may share. Swapped, not assigned: the old text is then released in this
 * code, where the thread sanitizer sees it, and not inside Qt, where it would report a race.
 */
template <typename Text>
void replaceShared(Text& target, const Text& text) {
  Text replacement(text);
  target.swap(replacement);
}

}  // namespace Tavroline
