// Threads, locks and conditions.
#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <ctime>

#include "Interposed.h"
#include "RealFunction.h"
#include "Scheduler.h"

namespace {

int waitOn(pthread_cond_t* condition, pthread_mutex_t* mutex, Nanoseconds due) {
  pthread_mutex_unlock(mutex);
  const bool woken = Scheduler::instance().waitUntil(due, condition);
  pthread_mutex_lock(mutex);
  return woken ? 0 : ETIMEDOUT;
}

Scheduler::Fibre* fibreOf(pthread_t thread) {
  return reinterpret_cast<Scheduler::Fibre*>(thread);
}

}  // namespace

// From here on the names are those of the libraries.
#pragma GCC visibility push(default)
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int sched_yield() noexcept {
  Scheduler::instance().pass();
  return 0;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* /*attributes*/, void* (*run)(void*),
                   void* argument) noexcept {
  *thread = reinterpret_cast<pthread_t>(Scheduler::instance().start(
      "thread", [run, argument] { run(argument); }, true));
  Scheduler::switchMaybe();
  return 0;
}

int pthread_join(pthread_t thread, void** /*result*/) {
  Scheduler::instance().join(fibreOf(thread));
  return 0;
}

pthread_t pthread_self() noexcept {
  Scheduler& scheduler = Scheduler::instance();
  return scheduler.current() == scheduler.first() ? REAL(pthread_self)()
                                                  : reinterpret_cast<pthread_t>(scheduler.current());
}

int pthread_setname_np(pthread_t thread, const char* name) noexcept {
  if (thread != REAL(pthread_self)()) {
    Scheduler::rename(fibreOf(thread), name);
  }
  return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  Scheduler::switchMaybe();
  int result = 0;
  while ((result = REAL(pthread_mutex_trylock)(mutex)) == EBUSY) {
    Scheduler::instance().waitUntil(kNever, mutex);
  }
  return result;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  const int result = REAL(pthread_mutex_unlock)(mutex);
  Scheduler::instance().wake(mutex, true);
  Scheduler::switchMaybe();
  return result;
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  return waitOn(condition, mutex, kNever);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* due) {
  return waitOn(condition, mutex, Interposed::nanoseconds(*due) - Scheduler::instance().wallClock);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                           const timespec* due) {
  const Nanoseconds offset = clock == CLOCK_REALTIME ? Scheduler::instance().wallClock : 0;
  return waitOn(condition, mutex, Interposed::nanoseconds(*due) - offset);
}

int pthread_cond_signal(pthread_cond_t* condition) noexcept {
  Scheduler::instance().wake(condition, false);
  return 0;
}

int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
  Scheduler::instance().wake(condition, true);
  return 0;
}

/** Qt's mutexes wait with futex(). */
long syscall(long number, ...) noexcept {
  va_list list;
  va_start(list, number);
  long a[6];
  for (long& argument : a) {
    argument = va_arg(list, long);
  }
  va_end(list);
  if (number != SYS_futex) {
    return REAL(syscall)(number, a[0], a[1], a[2], a[3], a[4], a[5]);
  }
  const auto* const word = reinterpret_cast<const void*>(a[0]);
  if ((a[1] & FUTEX_CMD_MASK) == FUTEX_WAKE) {
    Scheduler::instance().wake(word, true);
  } else if (__atomic_load_n(static_cast<const int*>(word), __ATOMIC_ACQUIRE) == static_cast<int>(a[2])) {
    const auto* const time = reinterpret_cast<const timespec*>(a[3]);
    Scheduler::instance().waitUntil(Interposed::dueIn(time), word);
  }
  return 0;
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
#pragma GCC visibility pop
