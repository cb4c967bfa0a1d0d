#pragma once

#include <QDateTime>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <chrono>

#include "DBusPendingReply.h"
#include "EventlistHandlerEnums.h"

namespace Tavroline {

using Clock = std::chrono::steady_clock;

/**
 * A change that the component hands to the hub: an entry for the event list, its deletion or an
 * acknowledgement.
 *
 * The Qt members are implicitly shared, so the PLC task copies no text when it hands them over. The hub's
 * thread converts them for the bus.
 */
struct Message {
  enum class Kind { LogEntry, DeleteEvents, AcknowledgeAlarms, AcknowledgeDetector };

  Kind kind = Kind::LogEntry;
  quint64 sequence = 0;     ///< number that the outbox gave it on hand-over; the first is 1
  qint64 handedOverAt = 0;  ///< ms since 1970-01-01 00:00:00 UTC; time of an entry whose dateTime is invalid

  // An entry has all of the following members, an acknowledgement only texts and user.
  int eventType = 0;
  int state = 0;
  QString iconType;
  QString moduleName;
  QDateTime dateTime;
  QVariantMap description;
  QStringList texts;  ///< keywords of an entry, or identifiers of the alarms to acknowledge
  QString user;
  QString alarmId;  ///< if not empty, the entry is an edge of this alarm or fault: it turns it on or off
  QString objectName;

  bool isEdge() const { return !alarmId.isEmpty(); }
  /** Of an edge: whether it turns the alarm or fault on; every other state counts as off. */
  bool turnsOn() const { return state == EventlistHandlerEnums::StateOn; }
};

/** A question of the component to the service: a list, or the state of one alarm. */
struct Request {
  enum class Kind { EventList, AlarmList, AlarmState };

  Kind kind = Kind::EventList;
  QString text;       ///< the language of a list, or the identifier of the alarm
  quint32 count = 0;  ///< of an event list: number of newest entries wanted, 0 for all
  QSharedPointer<DBusPendingReply::Private> reply;
  Clock::time_point deadline;  ///< of the reply, after which the request fails
  quint64 behind = 0;  ///< number of the last message handed over before it; that one is usually sent first
  bool sent = false;
};

}  // namespace Tavroline
