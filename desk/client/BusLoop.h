#pragma once

#include <QString>
#include <atomic>

#include "BusConnection.h"
#include "Courier.h"
#include "ListState.h"
#include "Outbox.h"
#include "ServiceWatch.h"

namespace Tavroline {

/**
 * What the hub's thread does: keep a connection, follow the service's owner, send, and report losses; at the
 * end send what is pending for a short while. Constructed, run and destroyed on that thread. [hub]
 */
class BusLoop {
 public:
  /** @param wakeFd becomes readable when `stop` of run() has been set */
  BusLoop(Outbox& outbox, ListState& state, int wakeFd);

  /** Runs until `stop` is set, and then through drain. Throws nothing. */
  void run(const std::atomic<bool>& stop) noexcept;

 private:
  template <typename Step>
  void guarded(Step step) noexcept;
  void turn();
  void drain();
  void connect(Clock::time_point now);
  void followOwner();
  void breakOff(const QString& cause);
  void reportGaps(bool all);
  void reportBooks(bool last);

  Outbox& m_outbox;
  const int m_wakeFd;
  BusConnection m_connection;  // before those that hold slots of it
  ServiceWatch m_watch;
  Courier m_courier;
  Clock::time_point m_nextAttempt;
  Clock::duration m_pause;
  Books m_reported;
  Clock::time_point m_nextReport;
  QString m_cause;  ///< why there is no connection
};

}  // namespace Tavroline
