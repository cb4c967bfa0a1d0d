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
 * The loop of the hub's thread: keeps a connection, follows the owner of the service's name, sends messages
 * and requests, and logs losses. Before it ends it sends pending messages for at most half a second. All
 * operations, constructor and destructor included, run on that thread. [hub]
 */
class BusLoop {
 public:
  /** @param wakeFd becomes readable when `stop` of run() has been set */
  BusLoop(Outbox& outbox, ListState& state, int wakeFd);

  /** Run until `stop` is set; then send pending messages for half a second at most and log the loss of
   * others. */
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
  BusConnection m_connection;  // declared before its slots' holders, so that it is destroyed after them
  ServiceWatch m_watch;
  Courier m_courier;
  Clock::time_point m_nextAttempt;
  Clock::duration m_pause;
  Books m_reported;
  Clock::time_point m_nextReport;
  QString m_cause;  ///< why the last connection ended
};

}  // namespace Tavroline
