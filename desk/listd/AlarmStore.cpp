#include "AlarmStore.h"

#include "EventlistHandlerDefinitions.h"

using Names = EventlistHandlerDefinitions;

AlarmStore::AlarmStore(Database& database)
    : m_database(database),
      m_find(database, "SELECT active, acknowledged, session FROM alarms WHERE alarm_id = ?"),
      m_read(database,
             "SELECT event_type, module_name, description, keywords FROM alarms WHERE alarm_id = ?"),
      m_room(database,
             "SELECT EXISTS (SELECT 1 FROM alarms WHERE alarm_id = ?)"
             " OR (SELECT count(*) FROM alarms) < ?"),
      m_turnOn(
          database,
          "INSERT INTO alarms VALUES (?1, ?2, ?3, 1, 0, ?4, ?5, ?6, ?7, ?8, ?9) ON CONFLICT (alarm_id) DO"
          " UPDATE SET edge = ?2, event_type = ?3, acknowledged = acknowledged AND active, active = 1,"
          " icon_type = ?4, module_name = ?5, time = ?6, description = ?7, keywords = ?8,"
          " session = iif(active AND session = '', '', ?9)"),
      m_turnOff(database,
                "UPDATE alarms SET edge = ?2, active = 0, icon_type = ?4, module_name = ?5, time = ?6,"
                " description = ?7, keywords = ?8 WHERE alarm_id = ?1"),
      m_acknowledge(database, "UPDATE alarms SET acknowledged = 1 WHERE alarm_id = ?"),
      m_remove(database, "DELETE FROM alarms WHERE alarm_id = ? AND acknowledged AND NOT active"),
      m_assign(database, "UPDATE alarms SET session = ?2 WHERE alarm_id = ?1 AND session <> ''"),
      m_activeOf(database, "SELECT alarm_id FROM alarms WHERE session = ? AND active ORDER BY edge LIMIT ?"),
      m_owners(database, "SELECT DISTINCT session FROM alarms WHERE active"),
      m_count(database, "SELECT count(*) FROM alarms"),
      m_select(database,
               "SELECT alarm_id, active, acknowledged, event_type, icon_type, time, module_name, description,"
               " keywords FROM alarms ORDER BY edge DESC"),
      m_summary(database,
                "SELECT EXISTS (SELECT 1 FROM alarms WHERE event_type = 0),"
                " EXISTS (SELECT 1 FROM alarms WHERE event_type = 0 AND active = 1),"
                " EXISTS (SELECT 1 FROM alarms WHERE event_type = 2),"
                " EXISTS (SELECT 1 FROM alarms WHERE event_type = 2 AND active = 1)") {}

bool AlarmStore::hasRoomFor(const QByteArray& alarmId) {
  return m_room.bind(0, alarmId).bind(1, qint64{kCapacity}).value() != 0;
}

namespace {

/** Bind the parameters that "on" and "off" have in common. */
Statement& bindEdge(Statement& statement, const StoredEntry& entry, qint64 edge) {
  statement.bind(0, entry.alarmId).bind(1, edge).bind(3, entry.iconType).bind(4, entry.moduleName);
  return statement.bind(5, entry.time).bind(6, entry.description).bind(7, entry.keywords);
}

}  // namespace

bool AlarmStore::turnOn(const StoredEntry& entry, qint64 edge, const QByteArray& session) {
  const bool wasOn = find(entry.alarmId).active;
  bindEdge(m_turnOn, entry, edge).bind(2, qint64{entry.eventType}).bind(8, session).run();
  return !wasOn;
}

bool AlarmStore::turnOff(const StoredEntry& entry, qint64 edge) {
  bindEdge(m_turnOff, entry, edge).run();
  const bool known = m_database.changes() > 0;
  m_remove.bind(0, entry.alarmId).run();
  return known;
}

void AlarmStore::acknowledge(const QByteArray& alarmId) {
  m_acknowledge.bind(0, alarmId).run();
  m_remove.bind(0, alarmId).run();
}

AlarmStore::State AlarmStore::find(const QByteArray& alarmId) {
  State state;
  if (m_find.bind(0, alarmId).next()) {
    state = {true, m_find.number(0) != 0, m_find.number(1) != 0, m_find.copy(2)};
    m_find.reset();
  }
  return state;
}

StoredEntry AlarmStore::read(const QByteArray& alarmId) {
  StoredEntry entry;
  entry.alarmId = alarmId;
  if (m_read.bind(0, alarmId).next()) {
    entry.eventType = static_cast<int>(m_read.number(0));
    entry.moduleName = m_read.copy(1);
    entry.description = m_read.copy(2);
    entry.keywords = m_read.copy(3);
    m_read.reset();
  }
  return entry;
}

void AlarmStore::assign(const QByteArray& alarmId, const QByteArray& session) {
  m_assign.bind(0, alarmId).bind(1, session).run();
}

QByteArrayList AlarmStore::activeOf(const QByteArray& session, qint64 count) {
  return m_activeOf.bind(0, session).bind(1, count).texts();
}

QByteArrayList AlarmStore::owners() {
  return m_owners.texts();
}

QByteArray AlarmStore::list(const QByteArray& language) {
  using Form = ListJson::Form;
  static const std::vector<ListJson::Column> kColumns{
      {Names::getListColumnNameAlarmID(), Form::Text},
      {Names::getListColumnNameAlarmActive(), Form::Flag},
      {Names::getListColumnNameAlarmAcknowledgment(), Form::Flag},
      {Names::getListColumnNameEventType(), Form::Number},
      {Names::getListColumnNameIconType(), Form::Text},
      {Names::getListColumnNameLocalTime(), Form::Time},
      {Names::getListColumnNameModuleName(), Form::Text},
      {Names::getListColumnNameDescription(), Form::Description},
      {Names::getListColumnNameKeywords(), Form::Keywords}};
  return ListJson(kColumns, language).write(m_select, m_count.value());
}

QByteArray AlarmStore::alarmState(const QByteArray& alarmId) {
  const State state = find(alarmId);
  QByteArray json = "{\"" + Names::getListColumnNameAlarmActive().toUtf8() + "\":";
  json += state.active ? "true" : "false";
  json += ",\"" + Names::getListColumnNameAlarmAcknowledgment().toUtf8() + "\":";
  json += state.acknowledged ? "true" : "false";
  return json + '}';
}

AlarmSummary AlarmStore::summary() {
  AlarmSummary summary{};
  m_summary.next();
  for (std::size_t i = 0; i < summary.size(); ++i) {
    summary.at(i) = static_cast<int>(m_summary.number(static_cast<int>(i)));
  }
  m_summary.reset();
  return summary;
}
