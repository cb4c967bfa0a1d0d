#pragma once

#include <QSharedPointer>
#include <QVariant>

#include "ErrorContainer.h"

/**
 * The reply to one asynchronous request. The component calls isFinished() once per cycle until the reply is
 * no longer outstanding.
 *
 * An implementation keeps its own deadline, so that every reply arrives or fails. No operation waits for the
 * bus. The component never makes two calls on one reply at the same time, but its calls may come from another
 * thread than the request did. Releasing the last pointer abandons the request.
 */
class DBusPendingReply {
 public:
  using SharedPointer = QSharedPointer<DBusPendingReply>;

  class Private;
  explicit DBusPendingReply(const QSharedPointer<Private>& state);
  ~DBusPendingReply();
  DBusPendingReply(const DBusPendingReply&) = delete;
  DBusPendingReply& operator=(const DBusPendingReply&) = delete;

  /**
   * @param error set to the cause if the request failed, otherwise unchanged
   * @return 0 the reply has arrived, 2 it is outstanding, 1 the request failed. [any-thread]
   */
  int isFinished(ErrorContainer& error);

  /**
   * The component parses the bytes on the stack of a PLC task; invalid JSON gives an empty list. An
   * implementation may instead fail a reply that is nested deeper than 32 levels or in which an object names
   * a member twice: the first costs stack, the second costs memory that Qt 5.15 never frees. The load or the
   * query then ends with an error.
   * @return the reply's bytes (a JSON document) once isFinished() has returned 0, otherwise an invalid
   * variant. [any-thread]
   */
  QVariant getReply();

 private:
  QSharedPointer<Private> m_state;
};
