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
 * The loop of the hub's thread: keeps the connection to the bus, follows the owner of the service's name,
 * sends it messages and requests, and logs losses and counters. Constructor, destructor and all operations
 * run on one thread: the hub's thread or, if that was never started, the thread that unloads the library.
 * [hub]
 */
class BusLoop {
 public:
  /** @param wakeFd becomes readable when `stop` of run() has been set; -1 if that is set already */
  BusLoop(Outbox& outbox, ListState& state, int wakeFd);

  /**
   * Run until `stop` is set. Then send pending messages for at most half a second, and only while the service
   * may be reachable; in the last 150 ms drop all unsent ones but the edges that turn an alarm off. Drop and
   * log what is left.
   */
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
  // Declared before the two that hold its slots, so that it is destroyed after them.
  BusConnection m_connection;
  ServiceWatch m_watch;
  Courier m_courier;
  Clock::time_point m_nextAttempt;
  Clock::duration m_pause;
  Books m_reported;
  Clock::time_point m_nextReport;
  QString m_cause;  ///< why the last connection ended or could not be opened
};

}  // namespace Tavroline
