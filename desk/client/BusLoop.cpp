#include "BusLoop.h"

#include <algorithm>
#include <exception>
#include <system_error>

#include "ClientLog.h"

namespace Tavroline {

namespace {

// Shortest and longest wait between two turns. The wait doubles while turns have nothing to do. A new request
// ends the wait; a new message does not.
constexpr std::chrono::milliseconds kShortestWait{5};
constexpr std::chrono::milliseconds kLongestWait{100};
// Shortest and longest pause before the next attempt to connect.
constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{2000};
// Minimum interval between two reports of the counters to the service.
constexpr std::chrono::seconds kReportPause{1};
// Interval between two records of the counters in the runtime log.
constexpr std::chrono::minutes kLogPause{10};
// The counters are also logged if messages are pending and none of them was delivered or dropped for this
// time.
constexpr std::chrono::seconds kLongWait{10};
// Maximum time for sending at unload, and the last part of this time. See run() for what is sent in this
// part.
constexpr std::chrono::milliseconds kDrainTime{500};
constexpr std::chrono::milliseconds kOffEdgesTime{150};

QByteArray errnoText(int result) {
  return QByteArray::fromStdString(std::generic_category().message(-result));
}

}  // namespace

bool logGaps(MessageQueue& queue, bool all) {
  bool any = false;
  const Losses::Gaps gaps = queue.takeGaps(Clock::now(), all);
  for (std::size_t cause = 0; cause < gaps.size(); ++cause) {
    if (gaps[cause].count > 0) {
      clientLog(CLIENT_LOG_ORIGIN("BusLoop"), gaps[cause].text(cause));
      any = true;
    }
  }
  return any;
}

BusLoop::BusLoop(MessageQueue& queue, Requests& requests, ListState& state, int wakeFd)
    : m_queue(queue),
      m_requests(requests),
      m_wakeFd(wakeFd),
      m_watch(m_connection, state),
      m_sender(m_connection, queue),
      m_pause(kFirstPause),
      m_nextLog(Clock::now() + kLogPause),
      m_waitingSince(Clock::now()) {}

void BusLoop::run(const std::atomic<bool>& stop) noexcept {
  while (!stop.load(std::memory_order_acquire)) {
    guarded([this] { turn(); });
    wait();
  }
  m_requests.failSent("the library is being unloaded");
  m_requests.failUnsent("the library is being unloaded");
  drain();
  m_queue.dropAll();
  guarded([this] {
    logGaps(m_queue, true);
    const MessageCounters counters = m_queue.counters();
    m_logged = {};
    m_nextReport = {};
    logCounters(counters, Clock::now());
    reportCounters(counters, Clock::now());
  });
  breakOff({});
}

// Runs a step and returns true. If the step throws, this function closes the connection and returns false:
// the step may have made only a part of its calls.
template <typename Step>
bool BusLoop::guarded(Step step) noexcept {
  try {
    step();
    return true;
  } catch (const std::exception& error) {
    breakOff(QByteArrayLiteral("the connection was reset after an error"));
    clientLog(CLIENT_LOG_ORIGIN("BusLoop"), error.what());
  } catch (...) {
    breakOff(QByteArrayLiteral("the connection was reset after an error"));
  }
  return false;
}

// Waits until the next turn. If the bus's socket or the eventfd ended the last wait but the turn had nothing
// to do, this wait ignores both of them: a descriptor that stays ready would end each wait at once.
void BusLoop::wait() {
  m_wait = m_busy ? kShortestWait : std::clamp(m_wait * 2, kShortestWait, kLongestWait);
  const bool listens = m_busy || !m_woken;
  m_woken = m_connection.wait(listens ? m_wakeFd : -1, listens, m_wait);
}

void BusLoop::turn() {
  const auto now = Clock::now();
  m_busy = false;
  if (!m_connection.isOpen() && m_nextAttempt <= now) {
    connect();
  }
  if (m_connection.isOpen()) {
    const int result = m_connection.process();
    m_busy = result > 0 || (m_busy && result == 0);
    if (result < 0) {
      breakOff("the connection to the bus broke: " + errnoText(result));
    }
  }
  if (m_connection.isReady() && !m_watch.isStarted()) {
    m_watch.start();
  }
  m_watch.activateService(now, m_queue.hasPending() || m_requests.hasUnsent());
  followOwner();
  m_requests.expire(now);
  m_watch.sendDueQueries(now);
  if (!m_connection.isAnswered(now)) {
    breakOff(QByteArrayLiteral("the list service leaves calls unanswered"));
  }
  exchange(now);
  watchCounters(now);
}

void BusLoop::connect() {
  const int result = m_connection.open();
  m_busy = result >= 0;
  if (result < 0) {
    breakOff("the bus cannot be reached: " + errnoText(result));
  }
}

void BusLoop::followOwner() {
  if (m_watch.isAbsent() || !m_watch.owner().isEmpty()) {
    m_pause = kFirstPause;  // the bus works, so the next failure leads to the shortest pause
  }
  if (m_watch.owner() == m_sender.owner()) {
    return;
  }
  m_sender.detach(true);
  m_requests.failSent("the list service has gone");
  if (!m_watch.owner().isEmpty()) {
    m_sender.attach(m_watch.owner());
    m_reported = {};
    m_nextReport = {};
  }
}

void BusLoop::exchange(Clock::time_point now) {
  if (!m_sender.owner().isEmpty()) {
    m_sender.send(now);
    const bool sent = m_requests.send(m_connection, m_sender.owner(), m_queue, m_sender.storageFails());
    const quint64 handedOver = m_queue.handedOver();
    m_busy = m_busy || sent || handedOver != m_handedOver;
    m_handedOver = handedOver;
  } else if (!m_connection.isOpen()) {
    m_requests.failUnsent(m_cause.constData());
  } else if (m_watch.isAbsent()) {
    m_requests.failUnsent("the list service is not running");
  }
}

void BusLoop::breakOff(const QByteArray& cause) noexcept {
  m_sender.detach(false);
  m_requests.failSent(cause.constData());
  m_watch.stop();
  m_connection.close();
  m_nextAttempt = Clock::now() + m_pause;
  m_pause = std::min<Clock::duration>(m_pause * 2, kLongestPause);
  m_cause = cause;
}

void BusLoop::drain() noexcept {
  const auto end = Clock::now() + kDrainTime;
  bool last = false;
  bool pending = m_queue.hasPending() || m_connection.hasUnwritten();
  while (pending && Clock::now() < end) {
    const bool complete = guarded([&] {
      if (!last) {
        last = end - Clock::now() < kOffEdgesTime;
        m_sender.flush(last);
      }
      turn();  // connects if the library is unloaded before the first turn
      // The service can receive messages if its name has an owner, or if the hub may still find an owner.
      const bool mayArrive = !m_sender.owner().isEmpty() || (m_connection.isOpen() && !m_watch.isAbsent());
      pending = mayArrive && (m_queue.hasPending() || m_connection.hasUnwritten());
    });
    if (!complete) {
      m_nextAttempt = {};  // the next turn connects again at once, because little time is left
    }
    if (pending) {
      m_connection.wait(-1, true, kShortestWait);
    }
  }
}

// Logs the gaps and the counters, and reports the counters to the service. Logs the counters if a gap was
// logged, if messages have waited for kLongWait (once in each such wait), and at least every kLogPause, but
// only if the counters have changed since the last record.
void BusLoop::watchCounters(Clock::time_point now) {
  const bool lost = logGaps(m_queue, false);
  const MessageCounters counters = m_queue.counters();
  const quint64 settled = counters.accepted - counters.pending;
  if (counters.pending == 0 || settled != m_settled) {
    m_settled = settled;
    m_waitingSince = now;
  }
  const bool waits = now - m_waitingSince >= kLongWait;
  if (lost || (waits && !m_waitLogged) || now >= m_nextLog) {
    logCounters(counters, now);
  }
  m_waitLogged = counters.pending > 0 && (m_waitLogged || waits);
  reportCounters(counters, now);
}

void BusLoop::logCounters(const MessageCounters& counters, Clock::time_point now) {
  m_nextLog = now + kLogPause;
  if (counters.values() != m_logged) {
    m_logged = counters.values();
    clientLog(CLIENT_LOG_ORIGIN("BusLoop"), counters.text());
  }
}

void BusLoop::reportCounters(const MessageCounters& counters, Clock::time_point now) {
  if (m_sender.owner().isEmpty() || counters.values() == m_reported || now < m_nextReport) {
    return;
  }
  m_reported = counters.values();
  m_nextReport = now + kReportPause;
  m_sender.sendCounters(counters);
}

}  // namespace Tavroline
