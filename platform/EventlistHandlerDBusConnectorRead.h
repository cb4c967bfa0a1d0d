#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <memory>

#include "DBusPendingReply.h"

/**
 * Reading client of the event-list service.
 *
 * Constructing, using and destroying one never waits for the bus and never throws for want of a bus or a
 * service. A constructor may run while the library is being loaded: it starts no thread and opens no
 * connection. Calls on one object must not overlap; different objects may be used on different threads.
 */
class EventlistHandlerDBusConnectorRead {
 public:
  /** @param deviceBus true attaches to the device's bus; false: requests give null, the flag stays false.
   * [init] */
  explicit EventlistHandlerDBusConnectorRead(bool deviceBus) noexcept;
  ~EventlistHandlerDBusConnectorRead();
  EventlistHandlerDBusConnectorRead(const EventlistHandlerDBusConnectorRead&) = delete;
  EventlistHandlerDBusConnectorRead& operator=(const EventlistHandlerDBusConnectorRead&) = delete;

  /**
   * Start the request for the whole list.
   * @param language of the descriptions, for example "de"; empty selects the service's default
   * @return the outstanding reply, null when the request could not be created. [plc-task]
   */
  DBusPendingReply::SharedPointer getCompleteEventlist(const QString& language);

  /**
   * Start the request for a part of the list. This service selects by count alone: `criteria…`, the time
   * range and `keywords` must be empty or null, otherwise the reply fails at once with a text that says so.
   * @param count the number of newest entries wanted, 1 or more
   * @return as getCompleteEventlist(). [plc-task]
   */
  DBusPendingReply::SharedPointer getPartOfEventlist(const QString& language, const QStringList& criteriaA,
                                                     const QStringList& criteriaB,
                                                     const QStringList& criteriaC,
                                                     const QStringList& criteriaD, const QDateTime& earliest,
                                                     const QDateTime& latest, const QStringList& keywords,
                                                     int count);

  /** True once after each change of the list that the service has reported to this object. [hook] */
  bool changedFlagEventlist();

 private:
  class Private;
  std::unique_ptr<Private> m_private;
};
