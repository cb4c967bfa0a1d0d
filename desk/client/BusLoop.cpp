#include "BusLoop.h"

#include <algorithm>
#include <exception>
#include <system_error>

#include "ClientLog.h"

namespace Tavroline {

namespace {

// Bounds of the wait between two turns. The wait doubles while turns have nothing to do. A new request ends
// the wait; a new message does not.
constexpr std::chrono::milliseconds kShortestWait{5};
constexpr std::chrono::milliseconds kLongestWait{100};
constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{2000};
constexpr std::chrono::seconds kReportPause{
    1};  // minimum interval between reports of the counters to the service
constexpr std::chrono::minutes kLogPause{10};  // interval between records of the counters in the runtime log
constexpr std::chrono::seconds kLongWait{10};  // a record is due if messages have waited for this time
constexpr std::chrono::milliseconds kDrainTime{500};     // at unload, see run()
constexpr std::chrono::milliseconds kOffEdgesTime{150};  // the last part of kDrainTime

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

// Runs a step. If the step throws, closes the connection, because the step may have made some of its calls
// only. Returns whether the step did not throw.
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

// Waits for the next turn. If a descriptor ended the last wait but the turn had nothing to do, ignores both
// descriptors, because a descriptor that stays ready would end each wait at once.
void BusLoop::wait() {
  m_wait = m_busy ? kShortestWait : std::clamp(m_wait * 2, kShortestWait, kLongestWait);
  const bool listens = m_busy || !m_woken;
  m_woken = m_connection.wait(listens ? m_wakeFd : -1, listens, m_wait);
}

void BusLoop::turn() {
  const auto now = Clock::now();
  m_busy = false;
  if (!m_connection.isOpen() && m_nextAttempt <= now) {
    connect(now);
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

void BusLoop::connect(Clock::time_point now) {
  m_nextAttempt = now + m_pause;
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
      turn();  // the first turn, if the library is unloaded right after its first use
      // Messages can arrive if the service's name has an owner, or if the owner may still be found.
      const bool mayArrive = !m_sender.owner().isEmpty() || (m_connection.isOpen() && !m_watch.isAbsent());
      pending = mayArrive && (m_queue.hasPending() || m_connection.hasUnwritten());
    });
    if (!complete) {
      m_nextAttempt = {};  // connect again without a pause, because the unload ends soon
    }
    if (pending) {
      m_connection.wait(-1, true, kShortestWait);
    }
  }
}

// Logs the counters after a logged gap, once when messages have waited for kLongWait, and every kLogPause.
// Reports the counters to the service.
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
