#pragma once

#include <systemd/sd-bus.h>

#include <QElapsedTimer>

#include <functional>
#include <memory>
#include <vector>

#include "CallReader.h"
#include "ClientCounters.h"
#include "ListService.h"

/**
 * Replies to method calls and emits the change signals. The changes received since the last commit share one
 * transaction; finish() or the next query commits it, and only then are their calls replied to.
 *
 * If reading or applying a call throws, its caller gets an error reply. After any exception but CallError the
 * open transaction is rolled back, and all of its calls get the error. change() and answer() are the bodies
 * of sd-bus method handlers and return the handler's result.
 */
class CallBatch {
 public:
  /** Maximum number of messages that the main loop handles before it calls finish(), and so of calls in one
   * transaction; a stop request waits for no more than these. */
  static constexpr int kMaxCalls = 256;

  /** Minimum interval between change signals, in ms, so that a burst of entries is not a burst of signals. A
   * query sends pending signals at once. */
  static constexpr qint64 kSignalInterval = 10;

  /** @param bus, service borrowed; must outlive the batch */
  CallBatch(sd_bus* bus, ListService& service);

  /** Apply a change; `change` reads the arguments and applies it. The reply follows after the commit, that to
   * a refused call at once. */
  int change(sd_bus_message* call, sd_bus_error* error, const std::function<void(CallReader&)>& change);

  /** Reply to a query; `answer` appends to the reply. All earlier changes are committed and signalled first.
   */
  int answer(sd_bus_message* call, sd_bus_error* error,
             const std::function<void(CallReader&, sd_bus_message* reply)>& answer);

  /** Commit the changes and reply to their calls. Emit the signals if kSignalInterval has passed since the
   * last ones.
   */
  void finish();

  /** Milliseconds until finish() must be called to emit pending signals, -1 if none are pending. */
  int timeout() const;

  /** Emit the signals for all committed changes since the last signals. If the storage fails, they stay
   * pending. */
  void signalChanges();

  ListService& service() { return m_service; }

  ClientCounters& clientCounters() { return m_clientCounters; }

  /** Number of calls that got an error reply from this class since the start. */
  quint64 rejected() const { return m_rejected; }

 private:
  struct Unref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  };
  using BusMessage = std::unique_ptr<sd_bus_message, Unref>;

  int refuse(sd_bus_error* error, const std::exception& cause);
  void fail(const char* text);
  void store();

  sd_bus* m_bus;
  ListService& m_service;
  ClientCounters m_clientCounters;
  std::vector<BusMessage> m_calls;
  ListSnapshot m_reported;
  bool m_unsignalled = false;  ///< calls were committed after the last signals
  QElapsedTimer m_sinceSignals;
  quint64 m_rejected = 0;
};

/** Checks the result of an sd-bus function. @throws std::runtime_error if it is negative. */
void checkBus(int result);
