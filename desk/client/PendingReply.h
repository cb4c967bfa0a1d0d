#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>

#include "DBusPendingReply.h"

/**
 * One outstanding request as its caller and the hub's thread share it.
 *
 * The hub settles it once, by arrive() or fail(); everything published before that is visible to a caller
 * that then sees the new status. The caller releases it, which abandons the request if it is still
 * outstanding.
 */
class DBusPendingReply::Private {
 public:
  /** The values that isFinished() returns. */
  enum Status : int { Arrived = 0, Failed = 1, Outstanding = 2 };

  /** Publish the reply. [hub] */
  void arrive(const QByteArray& reply) {
    m_reply = reply;
    m_status.store(Arrived, std::memory_order_release);
  }

  /** Publish the failure and its cause. [any-thread] */
  void fail(const QString& cause) {
    m_cause = cause;
    m_status.store(Failed, std::memory_order_release);
  }

  /** What the caller sees. [any-thread] */
  Status status() const { return m_status.load(std::memory_order_acquire); }

  /** Valid while status() is Arrived; the other while it is Failed. [any-thread] */
  const QByteArray& reply() const { return m_reply; }
  const QString& cause() const { return m_cause; }

  /** The caller has lost interest. [any-thread] */
  void release() { m_released.store(true, std::memory_order_release); }
  bool isReleased() const { return m_released.load(std::memory_order_acquire); }

  /** A reply that has failed already; null when there is no memory for it. [any-thread] */
  static SharedPointer failed(const QString& cause) noexcept;

 private:
  std::atomic<Status> m_status{Outstanding};
  std::atomic<bool> m_released{false};
  QByteArray m_reply;
  QString m_cause;
};
