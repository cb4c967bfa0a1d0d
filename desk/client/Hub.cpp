#include "Hub.h"

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <system_error>

#include "BusLoop.h"
#include "ClientLog.h"
#include "PendingReply.h"

namespace Tavroline {

namespace {
constexpr std::chrono::seconds kRequestDeadline{10};
constexpr std::chrono::seconds kStartPause{1};
constexpr char kThreadName[] = "tavroline-hub";
}  // namespace

Hub& Hub::instance() noexcept {
  static Hub hub;
  return hub;
}

Hub::~Hub() {
  m_stop.store(true, std::memory_order_release);
  if (m_thread.joinable()) {
    eventfd_write(m_wakeFd, 1);
    m_thread.join();
    close(m_wakeFd);
    return;
  }
  // The thread was never started. If starting it failed, messages may be pending: this thread sends them.
  BusLoop(m_outbox, m_state, -1).run(m_stop);
}

bool Hub::submit(Message&& message) noexcept {
  message.handedOverAt = QDateTime::currentMSecsSinceEpoch();
  const bool accepted = m_outbox.accept(std::move(message));
  start();
  return accepted;
}

DBusPendingReply::SharedPointer Hub::request(Request::Kind kind, const QString& text,
                                             quint32 count) noexcept {
  if (!start()) {
    return DBusPendingReply::Private::failed(QStringLiteral("the client could not be started"));
  }
  try {
    Request request;
    request.kind = kind;
    request.text = text;
    request.count = count;
    request.reply = QSharedPointer<DBusPendingReply::Private>::create();
    request.deadline = Clock::now() + kRequestDeadline;
    auto reply = DBusPendingReply::SharedPointer::create(request.reply);
    if (!m_outbox.accept(request)) {
      request.reply->fail(QStringLiteral("too many outstanding requests"));
    }
    return reply;
  } catch (const std::bad_alloc&) {
    return {};
  }
}

bool Hub::tryStart() noexcept {
  const std::lock_guard<std::mutex> lock(m_startMutex);
  const auto now = Clock::now();
  if (m_running.load(std::memory_order_relaxed)) {
    return true;
  }
  if (now < m_nextStart) {
    return false;
  }
  m_nextStart = now + kStartPause;
  m_wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (m_wakeFd >= 0) {
    try {
      m_thread = std::thread(&Hub::run, this);
      m_running.store(true, std::memory_order_release);
      return true;
    } catch (const std::exception&) {
      close(m_wakeFd);
    }
  }
  clientLog(CLIENT_LOG_ORIGIN("Hub"), QStringLiteral("the client's thread could not be started"));
  return false;
}

void Hub::run() noexcept {
  // The other threads of the process handle its signals.
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  pthread_setname_np(pthread_self(), kThreadName);
  BusLoop(m_outbox, m_state, m_wakeFd).run(m_stop);
}

}  // namespace Tavroline
