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
 * The one hub of the library: outbox, list state and the thread that carries both over the bus.
 *
 * It comes into being idle with the first connector and outlives them all; its first use starts the thread
 * and with it the connection. Its end sends what is pending for at most half a second, counts the rest as
 * lost and joins the thread, whatever the bus is doing.
 */
class Hub {
 public:
  /** The library's own: made by the first connector, so that it outlives them all. [any-thread] */
  static Hub& instance() noexcept;

  /** Starts no thread, opens nothing. [init] */
  Hub() noexcept = default;
  ~Hub();
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  /**
   * Hand over a message; its time of hand-over is set here.
   * @return true when it was accepted, false when it was refused and counted. [plc-task]
   */
  bool submit(Message&& message) noexcept;

  /**
   * Hand over a request.
   * @param text language of a list or identifier of an alarm, by kind
   * @param count newest entries wanted, 0 for all
   * @return the reply, failed already when too many are outstanding; null without memory for it. [plc-task]
   */
  DBusPendingReply::SharedPointer request(Request::Kind kind, const QString& text,
                                          quint32 count = 0) noexcept;

  /** What the service has reported; from start() on the hub listens. [any-thread] */
  const ListState& listState() const { return m_state; }

  /** Start the thread unless it runs. @return whether it runs now. [any-thread] */
  bool start() noexcept { return m_running.load(std::memory_order_acquire) || tryStart(); }

  /** The books of this moment. [any-thread] */
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
