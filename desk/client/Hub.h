#pragma once

#include <QString>
#include <atomic>
#include <mutex>
#include <thread>

#include "Books.h"
#include "ListState.h"
#include "Message.h"
#include "Outbox.h"

namespace Tavroline {

/**
 * Owns the outbox, the state of the lists and the background thread that exchanges both with the bus. The
 * library has one hub.
 *
 * The first connector constructs it, so it is destroyed after all connectors. The constructor is passive; the
 * first use starts the thread, which connects to the bus. The destructor sends pending messages for at most
 * half a second, counts the rest as lost and joins the thread. It does not wait for the bus longer than that.
 */
class Hub {
 public:
  /** The library's hub, constructed by the first call. [any-thread] */
  static Hub& instance() noexcept;

  /** Starts no thread and opens no connection. [init] */
  Hub() noexcept = default;
  ~Hub();
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  /**
   * Hand over a message. This sets its hand-over time.
   * @return true when it was accepted, false when it was refused and counted. [plc-task]
   */
  bool submit(Message&& message) noexcept;

  /**
   * Hand over a request.
   * @param text the language of a list, or the identifier of the alarm
   * @param count number of newest entries wanted, 0 for all
   * @return the reply, which has failed already if too many are outstanding; null if memory allocation
   * failed. [plc-task]
   */
  DBusPendingReply::SharedPointer request(Request::Kind kind, const QString& text,
                                          quint32 count = 0) noexcept;

  /** The state of both lists as the service reported it last. Updated from start() on. [any-thread] */
  const ListState& listState() const { return m_state; }

  /** Start the thread if it is not running. @return whether it is running now. [any-thread] */
  bool start() noexcept { return m_running.load(std::memory_order_acquire) || tryStart(); }

  /** A snapshot of the counters. [any-thread] */
  Books books() const { return m_outbox.books(); }

 private:
  bool tryStart() noexcept;
  void run() noexcept;

  Outbox m_outbox;
  ListState m_state;
  std::mutex m_startMutex;
  Clock::time_point m_nextStart;
  std::atomic<bool> m_running{false};
  std::atomic<bool> m_stop{false};
  int m_wakeFd = -1;
  std::thread m_thread;
};

}  // namespace Tavroline
