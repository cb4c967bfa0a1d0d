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
 * A message is a change that the component hands to the hub; a request asks the service for something.
 *
 * The members are implicitly shared, so the PLC task copies no text when it hands them over. The hub's thread
 * converts them for the bus.
 */
struct Message {
  enum class Kind { LogEntry, DeleteEvents, AcknowledgeAlarms, AcknowledgeDetector };

  Kind kind = Kind::LogEntry;
  quint64 sequence = 0;     ///< number of the message, given by the outbox; starts at 1
  qint64 handedOverAt = 0;  ///< ms since 1970-01-01 00:00:00 UTC; used if dateTime is invalid
  int eventType = 0;
  int state = 0;
  QString iconType;
  QString moduleName;
  QDateTime dateTime;
  QVariantMap description;
  QStringList texts;  ///< keywords of an entry, or identifiers of the alarms to acknowledge
  QString user;
  QString alarmId;  ///< if not empty, the message is an edge of this alarm or fault
  QString objectName;

  bool isEdge() const { return !alarmId.isEmpty(); }
  bool turnsOn() const { return state == EventlistHandlerEnums::StateOn; }
};

struct Request {
  enum class Kind { EventList, AlarmList, AlarmState };

  Kind kind = Kind::EventList;
  QString text;       ///< the language of a list, or the identifier of the alarm
  quint32 count = 0;  ///< of an event list: number of newest entries wanted, 0 for all
  QSharedPointer<DBusPendingReply::Private> reply;
  Clock::time_point deadline;
  quint64 behind = 0;  ///< number of the last message before it; that one is sent first
  bool sent = false;
};

}  // namespace Tavroline
