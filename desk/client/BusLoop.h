#pragma once

#include <QByteArray>
#include <atomic>

#include "BusConnection.h"
#include "ListState.h"
#include "MessageQueue.h"
#include "MessageSender.h"
#include "Requests.h"
#include "ServiceWatch.h"

namespace Tavroline {

/** Write a record into the runtime log for each gap (Losses.h) that has ended, or for every gap if `all`
 * is set. @return whether a record was written. [hub] */
bool logGaps(MessageQueue& queue, bool all);

/**
 * The loop of the hub's thread. Each turn of the loop connects to the bus if necessary, handles replies and
 * signals, sends due messages and requests to the list service, and logs losses and counters. [hub]
 */
class BusLoop {
 public:
  /** @param wakeFd an eventfd that ends the wait between two turns */
  BusLoop(MessageQueue& queue, Requests& requests, ListState& state, int wakeFd);

  /**
   * Run until `stop` is set. Then fail all requests, and send pending messages for at most half a second, as
   * long as the service may still receive them. In the last 150 ms of this time, drop the messages that were
   * never sent, except the alarm edges of alarms that one of these messages turns off
   * (MessageQueue::keepOffEdges()). At the end, drop and log all messages that are not confirmed.
   */
  void run(const std::atomic<bool>& stop) noexcept;

 private:
  template <typename Step>
  bool guarded(Step step) noexcept;
  void wait();
  void turn();
  void drain() noexcept;
  void connect();
  void followOwner();
  void exchange(Clock::time_point now);
  void breakOff(const QByteArray& cause) noexcept;
  void watchCounters(Clock::time_point now);
  void logCounters(const MessageCounters& counters, Clock::time_point now);
  void reportCounters(const MessageCounters& counters, Clock::time_point now);

  MessageQueue& m_queue;
  Requests& m_requests;
  const int m_wakeFd;
  // declared before m_watch and m_sender, because the destructors of their BusSlots use the connection
  BusConnection m_connection;
  ServiceWatch m_watch;
  MessageSender m_sender;

  Clock::time_point m_nextAttempt;  ///< earliest time of the next attempt to connect
  Clock::duration m_pause;          ///< pause between two attempts to connect
  QByteArray m_cause;               ///< why the last connection ended or could not be opened

  bool m_busy = true;    ///< the last turn had something to do
  bool m_woken = false;  ///< the bus's socket or the eventfd ended the last wait
  std::chrono::milliseconds m_wait{};
  quint64 m_handedOver = 0;  ///< number of the last message handed over before the last exchange()

  MessageCounters::Values m_logged{};
  MessageCounters::Values m_reported{};
  Clock::time_point m_nextLog;
  Clock::time_point m_nextReport;
  quint64 m_settled = 0;  ///< number of delivered, superseded and dropped messages in the last turn
  Clock::time_point m_waitingSince;  ///< when m_settled changed last or no message was pending
  bool m_waitLogged = false;         ///< the counters were logged because messages have waited for long
};

}  // namespace Tavroline
