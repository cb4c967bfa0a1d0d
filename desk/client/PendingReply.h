#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>

#include "DBusPendingReply.h"

/**
 * The state of one request, shared by its caller and the hub's thread.
 *
 * Exactly one call of arrive() or fail() ends the request. A caller that sees the new status also sees the
 * reply or the cause. After release() the hub's thread does not send an unsent request any more and discards
 * the reply to a sent one.
 */
class DBusPendingReply::Private {
 public:
  /** The results of DBusPendingReply::isFinished(). */
  enum Status : int { Arrived = 0, Failed = 1, Outstanding = 2 };

  /** Store the reply and end the request. [hub] */
  void arrive(const QByteArray& reply) {
    m_reply = reply;
    m_status.store(Arrived, std::memory_order_release);
  }

  /** Store the cause of the failure and end the request. [any-thread] */
  void fail(const QString& cause) {
    m_cause = cause;
    m_status.store(Failed, std::memory_order_release);
  }

  /** Whether the request has ended, and how. [any-thread] */
  Status status() const { return m_status.load(std::memory_order_acquire); }

  /** reply() is valid if status() is Arrived, cause() if it is Failed. [any-thread] */
  const QByteArray& reply() const { return m_reply; }
  const QString& cause() const { return m_cause; }

  /** Called when the caller no longer needs the reply; see above. [any-thread] */
  void release() { m_released.store(true, std::memory_order_release); }
  bool isReleased() const { return m_released.load(std::memory_order_acquire); }

  /** A reply that has failed already; null if memory allocation failed. [any-thread] */
  static SharedPointer failed(const QString& cause) noexcept;

 private:
  std::atomic<Status> m_status{Outstanding};
  std::atomic<bool> m_released{false};
  QByteArray m_reply;
  QString m_cause;
};
