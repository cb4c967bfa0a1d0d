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

/**
 * What callers hand to the hub: messages that change something at the services, and requests that ask.
 *
 * Plain data of implicitly shared values, so that handing over copies and converts nothing; what the bus
 * needs is made of it on the hub's thread.
 */
using Clock = std::chrono::steady_clock;

struct Message {
  enum class Kind { LogEntry, DeleteEvents, AcknowledgeAlarms, AcknowledgeDetector };

  Kind kind = Kind::LogEntry;
  quint64 sequence = 0;     ///< its number within this hub's life, given on hand-over
  qint64 handedOverAt = 0;  ///< milliseconds since 1970-01-01 00:00:00 UTC; stands in for an invalid dateTime
  int eventType = 0;
  int state = 0;
  QString iconType;
  QString moduleName;
  QDateTime dateTime;
  QVariantMap description;
  QStringList texts;  ///< keywords of an entry, or the identifiers to acknowledge
  QString user;
  QString alarmId;  ///< not empty: an edge of that alarm or fault
  QString objectName;

  bool isEdge() const { return !alarmId.isEmpty(); }
  bool turnsOn() const { return state == EventlistHandlerEnums::StateOn; }
};

struct Request {
  enum class Kind { EventList, AlarmList, AlarmState };

  Kind kind = Kind::EventList;
  QString text;       ///< the language of a list, or the identifier of the alarm
  quint32 count = 0;  ///< newest entries wanted, 0 for all
  QSharedPointer<DBusPendingReply::Private> reply;
  Clock::time_point deadline;
  quint64 behind = 0;  ///< the last message handed over before it, which has to leave first
  bool sent = false;
};

}  // namespace Tavroline
