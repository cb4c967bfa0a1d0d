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
 * A reading connector constructs it within its own constructor. It is therefore destroyed after the reading
 * connectors, which are static objects of the component. The first submit(), request() or start() starts the
 * thread, which connects to the bus. The destructor has pending messages sent for at most half a second, the
 * rest counted as lost, and joins the thread.
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
   * Hand over a message; sets its sequence number and hand-over time.
   * @return true when it was accepted for sending, false when it was refused and counted as such. [plc-task]
   */
  bool submit(Message&& message) noexcept;

  /**
   * Hand over a request.
   * @param text the language of a list, or the identifier of the alarm
   * @param count of an event list only: number of newest entries wanted, 0 for all
   * @return the reply. It has failed already if Outbox::kRequests are outstanding or the thread is not
   * running; it fails later if it does not arrive within 10 s. Null if memory allocation failed. [plc-task]
   */
  DBusPendingReply::SharedPointer request(Request::Kind kind, const QString& text,
                                          quint32 count = 0) noexcept;

  /** The state of both lists as the service reported it last. The thread updates it, so not before start().
   * [any-thread] */
  const ListState& listState() const { return m_state; }

  /** Start the thread if it is not running; tries at most once a second. @return whether it is running now.
   * [any-thread] */
  bool start() noexcept { return m_running.load(std::memory_order_acquire) || tryStart(); }

  /** A snapshot of the message counters. [any-thread] */
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
