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
 * The hub takes messages and requests over from PLC tasks and keeps the last reported state of the lists. It
 * owns the thread that sends the messages and requests to the list service and receives the state (BusLoop).
 * The library has one hub.
 *
 * The first submit(), request() or start() starts the thread. The destructor ends the thread, which first
 * sends pending messages for at most half a second and counts the others as lost. In a child process that was
 * forked after the thread had started, the hub accepts nothing and the destructor does nothing.
 *
 * The component's reading connectors are static objects. Their constructors call instance(), which constructs
 * the hub. C++ therefore destroys the hub after these connectors.
 */
class Hub {
 public:
  /** Return the library's hub, which the first call constructs. [any-thread] */
  static Hub& instance() noexcept;

  /** Construct a hub without thread and connection. [init] */
  Hub() noexcept : m_queue(), m_requests() {}  // `= default` would zero the queue's memory
  ~Hub();

  /**
   * Hand over a message.
   * @param encode a function that receives a MessageWriter and encodes the message with it
   * @return whether the hub has accepted the message. The hub counts the messages that it refuses. [plc-task]
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

  /** Hand over a request, see Requests::accept(). The request fails at once if the thread cannot be started.
   * [plc-task] */
  DBusPendingReply::SharedPointer request(RequestKind kind, const QString& text, quint32 count = 0) noexcept;

  /** The state of the lists that the service has reported last. It does not change before the thread has
   * started. [any-thread] */
  const ListState& listState() const { return m_state; }

  /** Start the thread if it is not running, with at most one attempt a second. @return whether the thread is
   * running. [any-thread] */
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

  /** Set in a forked child process, which has no hub thread and whose mutexes may stay locked forever. */
  static inline std::atomic<bool> sm_isForkedChild{false};

  // The unions keep C++ from destroying these two members. ~Hub() destroys them, but not in a forked child:
  // the thread may have been changing them at the time of the fork.

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
  int m_wakeFd = -1;  ///< an eventfd: a write to it ends the thread's wait
  pthread_t m_thread{};
};

}  // namespace Tavroline
