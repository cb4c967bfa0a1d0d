#include "Interposed.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <sys/uio.h>
#include <unistd.h>

#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <ctime>
#include <map>
#include <new>
#include <random>
#include <utility>

#include "Scheduler.h"

namespace {

Interposed::Accept s_accept;
std::mt19937_64 s_identifiers;
bool s_diskFull = false;

/** When each timer is due; outlives the other static objects. */
std::map<int, Nanoseconds>& timers() {
  static auto* const all = new std::map<int, Nanoseconds>;
  return *all;
}

/** The next definition of a function, the library's own. */
template <typename Function>
Function* next(Function* /*same*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define REAL(function)                                  \
  [] {                                                  \
    static auto* const own = next(function, #function); \
    return own;                                         \
  }()

Nanoseconds nanoseconds(const timespec& time) {
  return time.tv_sec * kSecond + time.tv_nsec;
}

timespec timeOf(Nanoseconds time) {
  return {time / kSecond, time % kSecond};
}

Nanoseconds readClock(clockid_t clock) {
  Scheduler& scheduler = Scheduler::instance();
  const bool wall = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
  return scheduler.now() + (wall ? scheduler.wallClock : 0);
}

/** Sleep on the clock of the timeout. */
void sleepFor(Nanoseconds time) {
  Scheduler::instance().waitUntil(Scheduler::instance().now() + time);
}

Nanoseconds dueIn(const timespec* time) {
  return time == nullptr ? kNever : Scheduler::instance().now() + nanoseconds(*time);
}

int waitOn(pthread_cond_t* condition, pthread_mutex_t* mutex, Nanoseconds due) {
  pthread_mutex_unlock(mutex);
  const bool woken = Scheduler::instance().waitUntil(due, condition);
  pthread_mutex_lock(mutex);
  return woken ? 0 : ETIMEDOUT;
}

Scheduler::Fibre* fibreOf(pthread_t thread) {
  return reinterpret_cast<Scheduler::Fibre*>(thread);
}

template <typename Result>
Result active(Result result) {
  Scheduler::instance().noteActivity();
  return result;
}

}  // namespace

int Interposed::realPoll(pollfd* files, nfds_t count) {
  return REAL(poll)(files, count, 0);
}

void Interposed::onConnect(Accept accept) {
  s_accept = std::move(accept);
}

void Interposed::seedIdentifiers(std::uint64_t seed) {
  s_identifiers.seed(seed);
}

void Interposed::fillDisk(bool full) {
  s_diskFull = full;
}

std::int64_t Interposed::machineTime() {
  timespec time{};
  REAL(clock_gettime)(CLOCK_MONOTONIC, &time);
  return nanoseconds(time);
}

// From here on the names are those of the libraries.
#pragma GCC visibility push(default)
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept {
  *time = timeOf(readClock(clock));
  return 0;
}

int gettimeofday(timeval* time, void* /*zone*/) noexcept {
  const Nanoseconds now = readClock(CLOCK_REALTIME);
  *time = {now / kSecond, now % kSecond / 1000};
  return 0;
}

time_t time(time_t* result) noexcept {
  const time_t now = readClock(CLOCK_REALTIME) / kSecond;
  if (result != nullptr) {
    *result = now;
  }
  return now;
}

int poll(pollfd* files, nfds_t count, int timeout) {
  const Nanoseconds due = timeout < 0 ? kNever : Scheduler::instance().now() + timeout * kMillisecond;
  return Scheduler::instance().pollUntil(files, count, due);
}

int ppoll(pollfd* files, nfds_t count, const timespec* timeout, const sigset_t* /*mask*/) {
  return Scheduler::instance().pollUntil(files, count, dueIn(timeout));
}

/** A timer is an eventfd, which epoll_wait() sets when its time has come. */
int timerfd_create(clockid_t /*clock*/, int /*flags*/) noexcept {
  const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  timers()[descriptor] = kNever;
  return descriptor;
}

int timerfd_settime(int descriptor, int flags, const itimerspec* time, itimerspec* /*before*/) noexcept {
  const Nanoseconds value = nanoseconds(time->it_value);
  const Nanoseconds offset = (flags & TFD_TIMER_ABSTIME) != 0 ? 0 : Scheduler::instance().now();
  timers()[descriptor] = value == 0 ? kNever : offset + value;
  return 0;
}

int epoll_wait(int descriptor, epoll_event* events, int count, int timeout) {
  Nanoseconds due = timeout < 0 ? kNever : Scheduler::instance().now() + timeout * kMillisecond;
  for (const auto& [timer, time] : timers()) {
    due = std::min(due, time);
  }
  pollfd file{descriptor, POLLIN, 0};
  Scheduler::instance().pollUntil(&file, 1, due);
  for (auto& [timer, time] : timers()) {
    if (time <= Scheduler::instance().now()) {
      REAL(eventfd_write)(timer, 1);
      time = kNever;
    }
  }
  return REAL(epoll_wait)(descriptor, events, count, 0);
}

int nanosleep(const timespec* time, timespec* /*rest*/) {
  sleepFor(nanoseconds(*time));
  return 0;
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* /*rest*/) {
  sleepFor(nanoseconds(*time) - ((flags & TIMER_ABSTIME) != 0 ? readClock(clock) : 0));
  return 0;
}

int usleep(useconds_t microseconds) {
  sleepFor(microseconds * 1000LL);
  return 0;
}

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
  return waitOn(condition, mutex, nanoseconds(*due) - Scheduler::instance().wallClock);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                           const timespec* due) {
  const Nanoseconds offset = clock == CLOCK_REALTIME ? Scheduler::instance().wallClock : 0;
  return waitOn(condition, mutex, nanoseconds(*due) - offset);
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
    Scheduler::instance().waitUntil(dueIn(time), word);
  }
  return 0;
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
  if (!s_accept || address->sa_family != AF_UNIX) {
    return REAL(connect)(descriptor, address, length);
  }
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) < 0) {
    return -1;
  }
  dup3(ends[0], descriptor, O_CLOEXEC);
  REAL(close)(ends[0]);
  if (!s_accept(ends[1])) {
    REAL(close)(ends[1]);
    errno = ECONNREFUSED;
    return -1;
  }
  return active(0);
}

ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
  return active(REAL(sendmsg)(descriptor, message, flags));
}

ssize_t recvmsg(int descriptor, msghdr* message, int flags) {
  return active(REAL(recvmsg)(descriptor, message, flags));
}

ssize_t writev(int descriptor, const iovec* parts, int count) {
  return active(REAL(writev)(descriptor, parts, count));
}

int close(int descriptor) {
  timers().erase(descriptor);
  return active(REAL(close)(descriptor));
}

int eventfd_write(int descriptor, eventfd_t value) {
  const int result = active(REAL(eventfd_write)(descriptor, value));
  Scheduler::switchMaybe();
  return result;
}

ssize_t getrandom(void* buffer, size_t size, unsigned /*flags*/) {
  for (size_t i = 0; i < size; ++i) {
    static_cast<unsigned char*>(buffer)[i] = static_cast<unsigned char>(s_identifiers());
  }
  return static_cast<ssize_t>(size);
}

/** The disk of a run is memory. */
int fdatasync(int /*descriptor*/) {
  return 0;
}

ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset) {
  if (s_diskFull) {
    errno = ENOSPC;
    return -1;
  }
  return REAL(pwrite64)(descriptor, bytes, size, offset);
}

#ifndef __SANITIZE_ADDRESS__
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size) noexcept {
  return Scheduler::isAllocationFailing() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) noexcept {
  return Scheduler::isAllocationFailing() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) noexcept {
  return Scheduler::isAllocationFailing() ? nullptr : __libc_realloc(memory, size);
}
#endif

}  // extern "C"

QUuid QUuid::createUuid() {
  QUuid id;
  getrandom(&id, sizeof id, 0);
  id.data3 = static_cast<ushort>((id.data3 & 0x0fffU) | 0x4000U);
  id.data4[0] = static_cast<uchar>((id.data4[0] & 0x3fU) | 0x80U);
  return id;
}

void* operator new(std::size_t size) {
  Scheduler::switchMaybe();
  void* const memory = std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
// NOLINTEND(readability-identifier-naming)
#pragma GCC visibility pop
