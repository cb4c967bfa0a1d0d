#pragma once

#include <systemd/sd-bus.h>

#include <QElapsedTimer>

#include <functional>
#include <memory>
#include <vector>

#include "CallReader.h"
#include "ClientBooks.h"
#include "ListService.h"

/**
 * Between the bus and the lists: answers calls and emits the change signals. Changes that are waiting
 * together share one transaction, and each is answered only after its commit.
 *
 * Nothing that goes wrong in a call leaves it: the caller gets an error reply, and a failure of the storage
 * makes the whole open transaction undone and is the answer to all of its calls. Both call functions are the
 * body of an sd-bus method handler and return what that has to return. [any-thread]
 */
class CallBatch {
 public:
  /** Calls that share a transaction at most; the longest a stop request waits. */
  static constexpr int kMaxCalls = 256;

  /** Milliseconds from one report of changes to the next unless somebody asks: a burst of entries is none of
   * signals. */
  static constexpr qint64 kSignalInterval = 10;

  /** @param bus, service borrowed; must outlive the batch */
  CallBatch(sd_bus* bus, ListService& service);

  /** Carry out a change; `change` reads the arguments. Answered by finish(). */
  int change(sd_bus_message* call, sd_bus_error* error, const std::function<void(CallReader&)>& change);

  /** Answer a question; `answer` appends to the reply. Everything that came before is committed first. */
  int answer(sd_bus_message* call, sd_bus_error* error,
             const std::function<void(CallReader&, sd_bus_message* reply)>& answer);

  /** Commit and answer the changes so far, and signal them unless the last signals are too recent. */
  void finish();

  /** Milliseconds until finish() has to be called for the signals' sake, -1 if none are due. */
  int timeout() const;

  /** Signal what was stored since the last signals. */
  void signalChanges();

  ListService& service() { return m_service; }

  ClientBooks& clientBooks() { return m_clientBooks; }

  /** Calls that were answered with an error. */
  quint64 rejected() const { return m_rejected; }

 private:
  struct Unref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  };
  using Message = std::unique_ptr<sd_bus_message, Unref>;

  int refuse(sd_bus_error* error, const std::exception& cause);
  void fail(const char* text);
  void store();

  sd_bus* m_bus;
  ListService& m_service;
  ClientBooks m_clientBooks;
  std::vector<Message> m_calls;
  ListSnapshot m_reported;
  bool m_unsignalled = false;  ///< something was stored since
  QElapsedTimer m_sinceSignals;
  quint64 m_rejected = 0;
};

/** @throws std::runtime_error when sd-bus refused; meant for the building of replies. */
void checkBus(int result);
