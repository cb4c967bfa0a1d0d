#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>

#include "DBusPendingReply.h"

/**
 * The state of one request, shared by its caller and the hub's thread.
 *
 * The hub calls arrive() or fail() once. A caller that sees the new status also sees the reply or the cause.
 * When the caller releases it, the hub abandons the request if it is still outstanding.
 */
class DBusPendingReply::Private {
 public:
  /** The results of isFinished(). */
  enum Status : int { Arrived = 0, Failed = 1, Outstanding = 2 };

  /** Store the reply. [hub] */
  void arrive(const QByteArray& reply) {
    m_reply = reply;
    m_status.store(Arrived, std::memory_order_release);
  }

  /** Store the failure and its cause. [any-thread] */
  void fail(const QString& cause) {
    m_cause = cause;
    m_status.store(Failed, std::memory_order_release);
  }

  /** The present status. [any-thread] */
  Status status() const { return m_status.load(std::memory_order_acquire); }

  /** reply() is valid if status() is Arrived, cause() if it is Failed. [any-thread] */
  const QByteArray& reply() const { return m_reply; }
  const QString& cause() const { return m_cause; }

  /** Tell the hub that the caller no longer needs the reply. [any-thread] */
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
