#pragma once

#include <QSharedPointer>
#include <QVariant>

#include "ErrorContainer.h"

/**
 * The reply to one asynchronous request, to be asked until it is there.
 *
 * An implementation keeps its own deadline, so that every reply finishes or fails at last. Asking never waits
 * for the bus. One reply belongs to one caller at a time, on any thread; releasing it abandons the request.
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
   * @param error set to the cause when the call failed, otherwise left alone
   * @return 0 the reply has arrived, 2 it is outstanding, 1 the call failed. [any-thread]
   */
  int isFinished(ErrorContainer& error);

  /**
   * The reply's bytes (a JSON document) once isFinished() returned 0, otherwise an invalid variant. The
   * caller parses them on its own stack, so an implementation fails a reply that is nested deeper than 32
   * levels. [any-thread]
   */
  QVariant getReply();

 private:
  QSharedPointer<Private> m_state;
};
