#pragma once

#include <pthread.h>

#include <QString>
#include <atomic>
#include <new>

#include "ListState.h"
#include "MessageQueue.h"
#include "MessageWriter.h"
#include "PriorityMutex.h"
#include "Requests.h"

namespace Tavroline {

/**
 * Owns the message queue, the requests, the state of the lists, and the hub's thread, which exchanges them
 * with the bus (BusLoop). The library has one hub.
 *
 * A reading connector constructs the hub within its own constructor. The hub is therefore destroyed after the
 * reading connectors, which are static objects of the component. The first submit(), request() or start()
 * starts the thread. The destructor ends the thread, which first sends pending messages for at most half a
 * second and counts the rest as lost. In a child process that was forked after the thread had started, all
 * functions and the destructor do nothing.
 */
class Hub {
 public:
  /** The library's hub, constructed by the first call. [any-thread] */
  static Hub& instance() noexcept;

  /** Starts no thread and opens no connection. [init] */
  Hub() noexcept : m_queue(), m_requests() {}  // not `= default`, which would zero the queue's memory
  ~Hub();
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  /**
   * Hand over a message.
   * @param encode receives a MessageWriter and calls one of its functions to encode the message
   * @return whether the message was accepted for sending; if not, it counts as refused. [plc-task]
   */
  template <typename Encode>
  bool submit(Encode encode) noexcept {
    try {
      MessageWriter message;
      encode(message);
      return accept(message);
    } catch (const std::bad_alloc&) {
      return refuse(Loss::NoMemory);
    }
  }

  /**
   * Hand over a request.
   * @param text the language of a list, or the identifier of the alarm
   * @param count of an event list only: number of newest entries wanted, 0 for all
   * @return the reply, see Requests::accept(); failed already if the thread is not running. [plc-task]
   */
  DBusPendingReply::SharedPointer request(RequestKind kind, const QString& text, quint32 count = 0) noexcept;

  /** The state of both lists that the service reported last. The hub's thread updates it, so nothing changes
   * before start(). [any-thread] */
  const ListState& listState() const { return m_state; }

  /** Start the thread if it is not running; tries at most once a second. @return whether it is running now.
   * [any-thread] */
  bool start() noexcept {
    return !isForkedChild() && (m_running.load(std::memory_order_acquire) || tryStart());
  }

  /** A snapshot of the message counters. [any-thread] */
  MessageCounters counters() const noexcept;

 private:
  static bool isForkedChild() noexcept { return sm_isForkedChild.load(std::memory_order_relaxed); }
  static bool noteForks() noexcept;

  bool accept(const MessageWriter& message) noexcept;
  bool refuse(Loss cause) noexcept;
  bool tryStart() noexcept;
  bool createThread() noexcept;
  void endWithoutThread() noexcept;
  void run() noexcept;

  /** Set in a forked child: it has no hub thread, and a mutex that was locked at the fork stays locked. */
  static inline std::atomic<bool> sm_isForkedChild{false};

  // ~Hub() destroys these two, except in a forked child: at the fork the thread may have been changing them.
  // NOLINTBEGIN(readability-identifier-naming): the check takes members of a union for public ones
  union {
    MessageQueue m_queue;
  };
  union {
    Requests m_requests;
  };
  // NOLINTEND(readability-identifier-naming)
  ListState m_state;
  PriorityMutex m_startMutex;
  Clock::time_point m_nextStart;
  std::atomic<bool> m_running{false};
  std::atomic<bool> m_stop{false};
  int m_wakeFd = -1;  ///< an eventfd that ends the thread's wait
  pthread_t m_thread{};
};

}  // namespace Tavroline
