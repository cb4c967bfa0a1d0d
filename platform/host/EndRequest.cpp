#include "EndRequest.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

sigset_t endSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

}  // namespace

EndRequest::EndRequest() {
  const sigset_t signals = endSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void EndRequest::finish(int status) {
  int none = kNone;
  // The exit status of a process is one byte, and never negative: so no status is taken for "none".
  if (m_status.compare_exchange_strong(none, status & 0xff)) kill(getpid(), SIGTERM);
}

int EndRequest::wait(std::optional<unsigned> seconds) const {
  const sigset_t signals = endSignals();
  const timespec limit{static_cast<time_t>(seconds.value_or(0)), 0};
  while (sigtimedwait(&signals, nullptr, seconds ? &limit : nullptr) < 0 && errno == EINTR) {
  }
  const int status = m_status;
  return status == kNone ? 0 : status;
}
