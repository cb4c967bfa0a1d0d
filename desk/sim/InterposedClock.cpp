// Clocks, timers and waiting for a time or a file.
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <map>

#include "Interposed.h"
#include "RealFunction.h"
#include "Scheduler.h"

using Interposed::nanoseconds;

namespace {

/** When each timer is due; outlives the other static objects. */
std::map<int, Nanoseconds>& timers() {
  static auto* const all = new std::map<int, Nanoseconds>;
  return *all;
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

}  // namespace

int Interposed::realPoll(pollfd* files, nfds_t count) {
  return REAL(poll)(files, count, 0);
}

std::int64_t Interposed::machineTime() {
  timespec time{};
  REAL(clock_gettime)(CLOCK_MONOTONIC, &time);
  return nanoseconds(time);
}

Nanoseconds Interposed::nanoseconds(const timespec& time) {
  return time.tv_sec * kSecond + time.tv_nsec;
}

Nanoseconds Interposed::dueIn(const timespec* time) {
  return time == nullptr ? kNever : Scheduler::instance().now() + nanoseconds(*time);
}

void Interposed::forgetTimer(int descriptor) {
  timers().erase(descriptor);
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
  return Scheduler::instance().pollUntil(files, count, Interposed::dueIn(timeout));
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

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
#pragma GCC visibility pop
