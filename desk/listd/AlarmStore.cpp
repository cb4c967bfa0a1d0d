#include "AlarmStore.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "DescriptionText.h"
#include "EventlistHandlerDefinitions.h"
#include "ListJson.h"

using Keys = EventlistHandlerDefinitions;

AlarmStore::AlarmStore(Database& database)
    : m_database(database),
      m_find(database, "SELECT active, acknowledged FROM alarms WHERE alarm_id = ?"),
      m_room(database,
             "SELECT EXISTS (SELECT 1 FROM alarms WHERE alarm_id = ?)"
             " OR (SELECT count(*) FROM alarms) < ?"),
      m_turnOn(database,
               "INSERT INTO alarms VALUES (?1, ?2, ?3, 1, 0, ?4, ?5, ?6, ?7, ?8) ON CONFLICT (alarm_id) DO"
               " UPDATE SET edge = ?2, event_type = ?3, acknowledged = acknowledged AND active, active = 1,"
               " icon_type = ?4, module_name = ?5, time = ?6, description = ?7, keywords = ?8"),
      m_turnOff(database,
                "UPDATE alarms SET edge = ?2, active = 0, icon_type = ?4, module_name = ?5, time = ?6,"
                " description = ?7, keywords = ?8 WHERE alarm_id = ?1"),
      m_acknowledge(database,
                    "UPDATE alarms SET acknowledged = 1 WHERE alarm_id = ? AND NOT acknowledged"
                    " RETURNING module_name, description"),
      m_remove(database, "DELETE FROM alarms WHERE alarm_id = ? AND acknowledged AND NOT active"),
      m_select(database,
               "SELECT alarm_id, active, acknowledged, event_type, icon_type, time, module_name, description,"
               " keywords FROM alarms ORDER BY edge DESC"),
      m_summary(database,
                "SELECT EXISTS (SELECT 1 FROM alarms WHERE event_type = 0),"
                " EXISTS (SELECT 1 FROM alarms WHERE event_type = 0 AND active = 1),"
                " EXISTS (SELECT 1 FROM alarms WHERE event_type = 2),"
                " EXISTS (SELECT 1 FROM alarms WHERE event_type = 2 AND active = 1)") {}

bool AlarmStore::hasRoomFor(const QString& alarmId) {
  m_room.bind(0, alarmId).bind(1, qint64{kCapacity}).next();
  const bool room = m_room.number(0) != 0;
  m_room.reset();
  return room;
}

namespace {

/** Bind the parameters that "on" and "off" have in common. */
Statement& bindEdge(Statement& statement, const StoredEntry& entry, qint64 edge) {
  statement.bind(0, entry.alarmId).bind(1, edge).bind(3, entry.iconType).bind(4, entry.moduleName);
  return statement.bind(5, entry.time).bind(6, entry.description).bind(7, entry.keywords);
}

}  // namespace

bool AlarmStore::turnOn(const StoredEntry& entry, qint64 edge) {
  m_find.bind(0, entry.alarmId);
  const bool wasOn = m_find.next() && m_find.number(0) != 0;
  m_find.reset();
  bindEdge(m_turnOn, entry, edge).bind(2, qint64{entry.eventType}).run();
  return !wasOn;
}

bool AlarmStore::turnOff(const StoredEntry& entry, qint64 edge) {
  bindEdge(m_turnOff, entry, edge).run();
  const bool known = m_database.changes() > 0;
  removeFinished(entry.alarmId);
  return known;
}

bool AlarmStore::acknowledge(const QString& alarmId, QString& moduleName, QByteArray& description) {
  const bool acknowledged = m_acknowledge.bind(0, alarmId).next();
  if (acknowledged) {
    moduleName = QString::fromUtf8(m_acknowledge.text(0));
    description = m_acknowledge.text(1);
    description.detach();  // it refers to memory of the statement, which run() releases
    m_acknowledge.run();
    removeFinished(alarmId);
  }
  return acknowledged;
}

void AlarmStore::removeFinished(const QString& alarmId) {
  m_remove.bind(0, alarmId).run();
}

QByteArray AlarmStore::list(const QString& language) {
  ListJson json;
  while (m_select.next()) {
    if (json.isFull()) {
      json.omitEntry();
      continue;
    }
    const QJsonObject description = QJsonDocument::fromJson(m_select.text(7)).object();
    json.beginEntry();
    json.addText(Keys::getListColumnNameAlarmID(), m_select.text(0));
    json.addFlag(Keys::getListColumnNameAlarmActive(), m_select.number(1) != 0);
    json.addFlag(Keys::getListColumnNameAlarmAcknowledgment(), m_select.number(2) != 0);
    json.addNumber(Keys::getListColumnNameEventType(), m_select.number(3));
    json.addText(Keys::getListColumnNameIconType(), m_select.text(4));
    json.addTime(Keys::getListColumnNameLocalTime(), m_select.number(5));
    json.addText(Keys::getListColumnNameModuleName(), m_select.text(6));
    json.addText(Keys::getListColumnNameDescription(), DescriptionText::text(description, language).toUtf8());
    json.addJson(Keys::getListColumnNameKeywords(), m_select.text(8));
    json.endEntry();
  }
  return json.finish();
}

QByteArray AlarmStore::alarmState(const QString& alarmId) {
  m_find.bind(0, alarmId);
  const bool known = m_find.next();
  const QJsonObject state{
      {Keys::getListColumnNameAlarmActive(), known && m_find.number(0) != 0},
      {Keys::getListColumnNameAlarmAcknowledgment(), known && m_find.number(1) != 0},
  };
  m_find.reset();
  return QJsonDocument(state).toJson(QJsonDocument::Compact);
}

AlarmSummary AlarmStore::summary() {
  m_summary.next();
  const AlarmSummary summary{m_summary.number(0) != 0, m_summary.number(1) != 0, m_summary.number(2) != 0,
                             m_summary.number(3) != 0};
  m_summary.reset();
  return summary;
}
