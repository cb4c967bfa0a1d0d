#include "EndRequest.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <stdexcept>

EndRequest::EndRequest() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, &m_maskBefore);
  m_signals = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  m_finished = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (m_signals < 0 || m_finished < 0) {
    throw std::runtime_error("no file descriptor is free");
  }
}

EndRequest::~EndRequest() {
  close(m_signals);
  close(m_finished);
}

void EndRequest::finish(int status) {
  int none = kNone;
  // A process's exit status is one byte, so no status equals kNone.
  if (m_status.compare_exchange_strong(none, status & 0xff)) {
    eventfd_write(m_finished, 1);
  }
}

int EndRequest::wait(std::optional<unsigned> seconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(seconds.value_or(0));
  pollfd files[] = {{m_signals, POLLIN, 0}, {m_finished, POLLIN, 0}};
  int ready = 0;
  do {
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(end - Clock::now()).count();
    const std::int64_t bounded = left < 0 ? 0 : left;
    const timespec limit{static_cast<time_t>(bounded / 1000000000), static_cast<long>(bounded % 1000000000)};
    ready = ppoll(files, 2, seconds ? &limit : nullptr, nullptr);
  } while (ready < 0 && errno == EINTR);
  // Signals received so far ask for this end; only a later one is meant to kill a runtime that hangs.
  signalfd_siginfo taken{};
  while (read(m_signals, &taken, sizeof taken) > 0) {
  }
  pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
  const int status = m_status;
  return status == kNone ? 0 : status;
}
