#include "Hub.h"

#include <sched.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>
#include <mutex>

#include "BusLoop.h"
#include "ClientLog.h"
#include "RequestSlot.h"

namespace Tavroline {

namespace {

constexpr std::chrono::seconds kStartPause{1};
constexpr std::size_t kStackBytes = 256U << 10U;  // small, because mlockall() makes the whole stack resident
constexpr char kThreadName[] = "tavroline-hub";

// Returns the signals that the hub's thread blocks, so that other threads handle them: all signals except
// those that report a fault of the thread itself.
sigset_t asynchronousSignals() {
  sigset_t blocked;
  sigfillset(&blocked);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
    sigdelset(&blocked, fault);
  }
  return blocked;
}

// Sets the scheduling, the stack size and the blocked signals of the hub's thread, so that the thread does
// not inherit them from the PLC task that starts it. The thread may use the CPUs that the first thread of the
// process may use.
void setAttributes(pthread_attr_t& attributes) {
  const sched_param normal{};
  const sigset_t blocked = asynchronousSignals();
  cpu_set_t processors;
  pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
  pthread_attr_setschedpolicy(&attributes, SCHED_OTHER);
  pthread_attr_setschedparam(&attributes, &normal);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  pthread_attr_setsigmask_np(&attributes, &blocked);
  if (sched_getaffinity(getpid(), sizeof processors, &processors) == 0) {
    pthread_attr_setaffinity_np(&attributes, sizeof processors, &processors);
  }
}

}  // namespace

Hub& Hub::instance() noexcept {
  static Hub hub;
  return hub;
}

Hub::~Hub() {
  if (isForkedChild()) {
    return;
  }
  if (m_running.load(std::memory_order_acquire)) {
    m_stop.store(true, std::memory_order_release);
    eventfd_write(m_wakeFd, 1);
    pthread_join(m_thread, nullptr);
    close(m_wakeFd);
  } else {
    endWithoutThread();
  }
  m_requests.~Requests();
  m_queue.~MessageQueue();
}

void Hub::endWithoutThread() noexcept {
  m_queue.dropAll();
  const MessageCounters counters = m_queue.counters();
  if (counters.values() == MessageCounters().values()) {
    return;
  }
  try {
    logGaps(m_queue, true);
    clientLog(CLIENT_LOG_ORIGIN("Hub"), counters.text());
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the log is the only place to report it
  }
}

MessageCounters Hub::counters() const noexcept {
  return isForkedChild() ? MessageCounters() : m_queue.counters();
}

bool Hub::accept(const MessageWriter& message) noexcept {
  if (!message.isSendable()) {
    return refuse(Loss::Unsendable);
  }
  const bool accepted = !isForkedChild() && m_queue.accept(message.bytes());
  start();
  return accepted;
}

bool Hub::refuse(Loss cause) noexcept {
  if (!isForkedChild()) {
    m_queue.refuse(cause);
    start();
  }
  return false;
}

DBusPendingReply::SharedPointer Hub::request(RequestKind kind, const QString& text, quint32 count) noexcept {
  if (!start()) {
    return DBusPendingReply::Private::failed("the client could not be started");
  }
  auto reply = m_requests.accept(kind, text, count, m_queue.handedOver());
  eventfd_write(m_wakeFd, 1);
  return reply;
}

bool Hub::noteForks() noexcept {
  static bool isNoted = false;
  isNoted = isNoted || pthread_atfork(nullptr, nullptr, [] { sm_isForkedChild = true; }) == 0;
  return isNoted;
}

bool Hub::tryStart() noexcept {
  const std::lock_guard<PriorityMutex> lock(m_startMutex);
  const auto now = Clock::now();
  if (m_running.load(std::memory_order_relaxed)) {
    return true;
  }
  if (now < m_nextStart) {
    return false;
  }
  m_nextStart = now + kStartPause;
  m_wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (m_wakeFd >= 0 && noteForks() && createThread()) {
    m_running.store(true, std::memory_order_release);
    return true;
  }
  if (m_wakeFd >= 0) {
    close(m_wakeFd);
  }
  clientLog(CLIENT_LOG_ORIGIN("Hub"), "the client's thread could not be started");
  return false;
}

bool Hub::createThread() noexcept {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) {
    return false;
  }
  setAttributes(attributes);
  const auto run = [](void* hub) -> void* {
    static_cast<Hub*>(hub)->run();
    return nullptr;
  };
  const int result = pthread_create(&m_thread, &attributes, run, this);
  pthread_attr_destroy(&attributes);
  return result == 0;
}

void Hub::run() noexcept {
  pthread_setname_np(pthread_self(), kThreadName);
  if (!m_queue.inheritsPriority()) {
    clientLog(CLIENT_LOG_ORIGIN("Hub"),
              "this system has no priority inheritance: a PLC task may wait for a lower one");
  }
  BusLoop(m_queue, m_requests, m_state, m_wakeFd).run(m_stop);
}

}  // namespace Tavroline
