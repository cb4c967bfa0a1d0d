#include "ListService.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

#include "CallError.h"
#include "DescriptionText.h"
#include "EventlistHandlerDefinitions.h"
#include "EventlistHandlerEnums.h"
#include "EventsDBusDefinitions.h"

namespace {

bool turnsOn(const StoredEntry& entry) {
  return !entry.alarmId.isEmpty() && entry.state == EventlistHandlerEnums::StateOn &&
         (entry.eventType == EventlistHandlerEnums::EventTypeAlarm ||
          entry.eventType == EventlistHandlerEnums::EventTypeFault);
}

bool turnsOff(const StoredEntry& entry) {
  return !entry.alarmId.isEmpty() && entry.state == EventlistHandlerEnums::StateOff;
}

StoredEntry acknowledgementEntry(const QString& user, const QString& moduleName,
                                 const QJsonObject& description) {
  StoredEntry entry;
  entry.eventType = EventlistHandlerEnums::EventTypeAuditTrail;
  entry.state = EventlistHandlerEnums::StateNeutral;
  entry.iconType = EventlistHandlerDefinitions::getIconNameAuditTrail();
  entry.moduleName = moduleName;
  entry.time = QDateTime::currentMSecsSinceEpoch();
  entry.description = QJsonDocument(description).toJson(QJsonDocument::Compact);
  entry.keywords = "[]";
  entry.user = user;
  return entry;
}

[[noreturn]] void refuseForGood() {
  throw CallError("the alarm list is full", Tavroline::ListServiceNames::kErrorFull);
}

/** The alarm's description, or one that shows the alarm's identifier if the text of the former is empty. */
QJsonObject acknowledgedSubject(const QByteArray& alarmDescription, const QString& alarmId) {
  QJsonObject subject = QJsonDocument::fromJson(alarmDescription).object();
  if (!DescriptionText::text(subject, QString()).isEmpty()) {
    return subject;
  }
  return {{EventsDBusDefinitions::getEventDBusKeyObjectName(), alarmId}};
}

}  // namespace

// A generation is the time of the commit in microseconds, but at least one more than the last. If somebody
// restores an older copy of the database, the generations that clients have seen are therefore not used
// again, unless the clock was set back.
ListService::ListService(Database& database, qint64 capacity)
    : m_database(database),
      m_events(database, capacity),
      m_alarms(database),
      m_sessions(database),
      m_selectState(database, "SELECT event_generation, alarm_generation, detector FROM state"),
      m_eventsChanged(database, "UPDATE state SET event_generation = max(event_generation + 1, ?)"),
      m_alarmsChanged(database, "UPDATE state SET alarm_generation = max(alarm_generation + 1, ?)"),
      m_setDetector(database, "UPDATE state SET detector = ?") {}

void ListService::log(const Sender& sender, const StoredEntry& entry) {
  if (isRepetition(sender)) {
    return;
  }
  if (turnsOn(entry) && !m_alarms.hasRoomFor(entry.alarmId)) {
    m_failed.reject(sender);
    refuseForGood();
  }
  record(sender);
  applyEdge(entry, append(entry));
  ++m_changes.stored;
}

void ListService::deleteEvents(const Sender& sender) {
  if (isRepetition(sender)) {
    return;
  }
  record(sender);
  m_changes.events = m_events.clear() || m_changes.events;
}

void ListService::acknowledgeAlarms(const Sender& sender, const QStringList& alarmIds, const QString& user) {
  if (isRepetition(sender)) {
    return;
  }
  record(sender);
  for (const QString& alarmId : alarmIds) {
    QString moduleName;
    QByteArray description;
    if (!m_alarms.acknowledge(alarmId, moduleName, description)) {
      continue;
    }
    m_changes.alarms = true;
    const QJsonObject subject = acknowledgedSubject(description, alarmId);
    append(acknowledgementEntry(user, moduleName,
                                DescriptionText::ofTable(DescriptionText::kAlarmAcknowledged, subject)));
  }
}

void ListService::acknowledgeDetector(const Sender& sender, const QString& user) {
  if (isRepetition(sender)) {
    return;
  }
  record(sender);
  setDetector(false);
  append(acknowledgementEntry(user, QString(),
                              DescriptionText::ofTable(DescriptionText::kDetectorAcknowledged, {})));
}

void ListService::commit() {
  if (!m_changes.open) {
    return m_failed.succeed();
  }
  const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
  if (m_changes.events) {
    m_eventsChanged.bind(0, now).run();
  }
  if (m_changes.alarms) {
    m_alarmsChanged.bind(0, now).run();
  }
  const quint64 overwritten = m_events.trim();
  m_sessions.write();
  m_database.commit();
  m_failed.succeed();
  m_stored += m_changes.stored;
  m_overwritten += overwritten;
  m_changes = {};
}

void ListService::rollback() noexcept {
  m_database.rollback();
  m_sessions.forget();
  m_failed.fail();
  m_changes = {};
}

Counters ListService::counters() {
  return {m_stored, m_overwritten, m_duplicates, m_events.count(), m_events.capacity(), m_sessions.count()};
}

ListSnapshot ListService::snapshot() {
  m_selectState.next();
  ListSnapshot snapshot;
  snapshot.eventGeneration = static_cast<quint64>(m_selectState.number(0));
  snapshot.alarmGeneration = static_cast<quint64>(m_selectState.number(1));
  snapshot.detector = m_selectState.number(2) != 0;
  m_selectState.reset();
  snapshot.summary = m_alarms.summary();
  return snapshot;
}

/** Whether the message was applied before (then counted as a duplicate). Throws CallError if it must not be
 * applied: it was rejected before, or an earlier one on its connection has failed. */
bool ListService::isRepetition(const Sender& sender) {
  if (m_failed.isRejected(sender)) {
    refuseForGood();
  }
  if (!m_failed.admit(sender)) {
    throw CallError("a message before this one could not be stored",
                    Tavroline::ListServiceNames::kErrorStorage);
  }
  const bool seen = m_sessions.seen(sender.session, sender.sequence);
  if (seen) {
    ++m_duplicates;
  }
  return seen;
}

/** Open a transaction if none is open, and record the message in it. */
void ListService::record(const Sender& sender) {
  m_database.begin();
  m_changes.open = true;
  m_sessions.record(sender.sequence);
}

qint64 ListService::append(const StoredEntry& entry) {
  m_changes.events = true;
  return m_events.append(entry);
}

void ListService::applyEdge(const StoredEntry& entry, qint64 edge) {
  if (turnsOn(entry)) {
    if (m_alarms.turnOn(entry, edge)) {
      setDetector(true);
    }
    m_changes.alarms = true;
  } else if (turnsOff(entry)) {
    m_changes.alarms = m_alarms.turnOff(entry, edge) || m_changes.alarms;
  }
}

void ListService::setDetector(bool on) {
  m_setDetector.bind(0, qint64{on ? 1 : 0}).run();
}
