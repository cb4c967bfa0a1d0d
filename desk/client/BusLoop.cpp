#include "BusLoop.h"

#include <algorithm>
#include <exception>
#include <system_error>

#include "ClientLog.h"

namespace Tavroline {

namespace {

// The longest wait between two turns. Callers never wake this thread, so a new message may wait this long
// until the thread notices it.
constexpr std::chrono::milliseconds kTick{5};
constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{2000};
constexpr std::chrono::seconds kReportPause{1};
constexpr std::chrono::milliseconds kDrainTime{500};
// The last part of kDrainTime. Of the messages that are unsent then, only edges that turn an alarm off are
// sent.
constexpr std::chrono::milliseconds kOffEdgesTime{150};

QString errnoText(int result) {
  return QString::fromStdString(std::generic_category().message(-result));
}

}  // namespace

BusLoop::BusLoop(Outbox& outbox, ListState& state, int wakeFd)
    : m_outbox(outbox),
      m_wakeFd(wakeFd),
      m_watch(m_connection, state),
      m_courier(m_connection, outbox),
      m_pause(kFirstPause) {}

void BusLoop::run(const std::atomic<bool>& stop) noexcept {
  while (!stop.load(std::memory_order_acquire)) {
    guarded([this] { turn(); });
    m_connection.wait(m_wakeFd, kTick);
  }
  guarded([this] { drain(); });
  guarded([this] { m_courier.interrupt(QStringLiteral("the library is being unloaded")); });
  m_outbox.dropUnsent(false);
  guarded([this] { reportGaps(true); });
  guarded([this] { reportBooks(true); });
}

// Catches every exception of a step and closes the connection, so that nothing of a half-done step is used.
template <typename Step>
void BusLoop::guarded(Step step) noexcept {
  try {
    step();
  } catch (const std::exception& error) {
    breakOff(QStringLiteral("the connection was reset after an error"));
    clientLog(CLIENT_LOG_ORIGIN("BusLoop"), QLatin1String(error.what()));
  } catch (...) {
    breakOff(QStringLiteral("the connection was reset after an error"));
  }
}

void BusLoop::turn() {
  const auto now = Clock::now();
  if (!m_connection.isOpen() && m_nextAttempt <= now) {
    connect(now);
  }
  if (m_connection.isOpen()) {
    const int result = m_connection.process();
    if (result < 0) {
      breakOff(QStringLiteral("the connection to the bus broke: ") + errnoText(result));
    }
  }
  if (m_connection.isReady() && !m_watch.isStarted()) {
    m_watch.start();
    m_pause = kFirstPause;
  }
  followOwner();
  const bool statesAnswered = m_watch.keep(now);
  if (!m_courier.expire(now) || !statesAnswered) {
    breakOff(QStringLiteral("the list service leaves calls unanswered"));
  }
  if (!m_courier.owner().isEmpty()) {
    m_courier.send(now);
  } else if (!m_connection.isOpen()) {
    m_courier.refuse(m_cause);
  } else if (m_watch.isAbsent()) {
    m_courier.refuse(QStringLiteral("the list service is not running"));
  }
  reportGaps(false);
  reportBooks(false);
}

void BusLoop::connect(Clock::time_point now) {
  m_nextAttempt = now + m_pause;
  const int result = m_connection.open();
  if (result < 0) {
    breakOff(QStringLiteral("the bus cannot be reached: ") + errnoText(result));
  }
}

void BusLoop::followOwner() {
  if (m_watch.owner() == m_courier.owner()) {
    return;
  }
  m_courier.interrupt(QStringLiteral("the list service has gone"));
  if (m_watch.owner().isEmpty()) {
    return;
  }
  m_courier.begin(m_watch.owner());
  if (m_nextReport != Clock::time_point()) {
    m_courier.tell(m_watch.owner(), m_reported);
  }
}

void BusLoop::breakOff(const QString& cause) {
  m_courier.interrupt(cause);
  m_watch.stop();
  m_connection.close();
  m_nextAttempt = Clock::now() + m_pause;
  m_pause = std::min<Clock::duration>(m_pause * 2, kLongestPause);
  m_cause = cause;
}

void BusLoop::drain() {
  if (m_outbox.books().pending == 0) {
    return;
  }
  const auto end = Clock::now() + kDrainTime;
  bool offEdgesOnly = false;
  turn();  // may be the first one: the library can be unloaded right after its first use
  // Messages may be delivered while the service's name has an owner or, on an open connection, as long as it
  // is not known whether it has one.
  const auto mayArrive = [this] {
    return !m_courier.owner().isEmpty() || (m_connection.isOpen() && !m_watch.isAbsent());
  };
  while (mayArrive() && m_outbox.books().pending > 0) {
    const auto left = end - Clock::now();
    if (left <= Clock::duration::zero()) {
      return;
    }
    if (!offEdgesOnly && left < kOffEdgesTime) {
      m_outbox.dropUnsent(true);
      offEdgesOnly = true;
    }
    turn();
    m_connection.wait(-1, kTick);
  }
}

void BusLoop::reportGaps(bool all) {
  for (const auto& [cause, gap] : m_outbox.takeGaps(Clock::now(), all)) {
    clientLog(CLIENT_LOG_ORIGIN("BusLoop"), gap.text(cause));
  }
}

// Reports changed counters, at most once per kReportPause. The last report is written even if nothing has
// changed, unless all counters are 0.
void BusLoop::reportBooks(bool last) {
  const Books books = m_outbox.books();
  const auto now = Clock::now();
  const Books::Figures known = last ? Books().figures() : m_reported.figures();
  if (books.figures() == known || (!last && now < m_nextReport)) {
    return;
  }
  m_nextReport = now + kReportPause;
  m_reported = books;
  clientLog(CLIENT_LOG_ORIGIN("BusLoop"), books.text());
  if (!m_watch.owner().isEmpty()) {
    m_courier.tell(m_watch.owner(), books);
  }
}

}  // namespace Tavroline
