#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <memory>

#include "DBusPendingReply.h"

/**
 * Reading client of the event-list service.
 *
 * The component constructs its objects while the library is loaded and destroys them while it is unloaded.
 * The constructor therefore starts no thread, opens no connection and throws nothing. No operation waits for
 * the bus, and a missing bus or service is no exception. The component never makes two calls on one object at
 * the same time; different objects may be used at the same time on different threads.
 */
class EventlistHandlerDBusConnectorRead {
 public:
  /** @param deviceBus true, always: attach to the device's bus. [init] */
  explicit EventlistHandlerDBusConnectorRead(bool deviceBus) noexcept;
  ~EventlistHandlerDBusConnectorRead();
  EventlistHandlerDBusConnectorRead(const EventlistHandlerDBusConnectorRead&) = delete;
  EventlistHandlerDBusConnectorRead& operator=(const EventlistHandlerDBusConnectorRead&) = delete;

  /**
   * Start the request for the whole list.
   * @param language of the descriptions, as the application set it; empty selects the service's default
   * @return the reply, outstanding or finished already; null when the request could not be created.
   * [plc-task]
   */
  DBusPendingReply::SharedPointer getCompleteEventlist(const QString& language);

  /**
   * Start the request for a part of the list. The component filters for itself and passes the language and
   * the count alone: the lists are empty, the times null.
   * @param count number of entries wanted, 1 to 65,535; the service decides which
   * @return as getCompleteEventlist(). [plc-task]
   */
  DBusPendingReply::SharedPointer getPartOfEventlist(const QString& language, const QStringList& criteriaA,
                                                     const QStringList& criteriaB,
                                                     const QStringList& criteriaC,
                                                     const QStringList& criteriaD, const QDateTime& earliest,
                                                     const QDateTime& latest, const QStringList& keywords,
                                                     int count);

  /** @return true if the service has reported a change of the list since the last call on this object. [hook]
   */
  bool changedFlagEventlist();

 private:
  class Private;
  std::unique_ptr<Private> m_private;
};
