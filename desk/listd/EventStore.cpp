#include "EventStore.h"

#include <QJsonDocument>

#include "DescriptionText.h"
#include "EventlistHandlerDefinitions.h"
#include "ListJson.h"

EventStore::EventStore(Database& database, qint64 capacity)
    : m_database(database),
      m_capacity(capacity),
      m_insert(database,
               "INSERT INTO events (event_type, state, icon_type, module_name, time, description, keywords,"
               " user, alarm_id, object_name) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      m_drop(database, "DELETE FROM events WHERE id <= ?"),
      m_clear(database, "DELETE FROM events"),
      m_select(database,
               "SELECT id, event_type, icon_type, time, module_name, description, user, keywords FROM events"
               " ORDER BY id DESC LIMIT ?"),
      m_count(database, "SELECT count(*) FROM events") {}

qint64 EventStore::append(const StoredEntry& entry) {
  m_insert.bind(0, qint64{entry.eventType}).bind(1, qint64{entry.state}).bind(2, entry.iconType);
  m_insert.bind(3, entry.moduleName).bind(4, entry.time).bind(5, entry.description);
  m_insert.bind(6, entry.keywords).bind(7, entry.user).bind(8, entry.alarmId).bind(9, entry.objectName);
  m_insert.run();
  m_newest = m_database.lastInserted();
  return m_newest;
}

quint64 EventStore::trim() {
  if (m_newest <= m_capacity) {
    return 0;
  }
  m_drop.bind(0, m_newest - m_capacity).run();
  return static_cast<quint64>(m_database.changes());
}

bool EventStore::clear() {
  m_clear.run();
  return m_database.changes() > 0;
}

QByteArray EventStore::list(const QString& language, quint32 count) {
  using Keys = EventlistHandlerDefinitions;
  ListJson json;
  m_select.bind(0, count == 0 ? qint64{-1} : qint64{count});
  while (m_select.next()) {
    if (json.isFull()) {
      json.omitEntry();
      continue;
    }
    const QJsonObject description = QJsonDocument::fromJson(m_select.text(5)).object();
    json.beginEntry();
    json.addNumber(Keys::getListColumnNameEventlistId(), m_select.number(0));
    json.addNumber(Keys::getListColumnNameEventType(), m_select.number(1));
    json.addText(Keys::getListColumnNameIconType(), m_select.text(2));
    json.addTime(Keys::getListColumnNameLocalTime(), m_select.number(3));
    json.addText(Keys::getListColumnNameModuleName(), m_select.text(4));
    json.addText(Keys::getListColumnNameDescription(), DescriptionText::text(description, language).toUtf8());
    json.addText(Keys::getListColumnNameUser(), m_select.text(6));
    json.addJson(Keys::getListColumnNameKeywords(), m_select.text(7));
    json.endEntry();
  }
  return json.finish();
}

qint64 EventStore::count() {
  m_count.next();
  const qint64 count = m_count.number(0);
  m_count.reset();
  return count;
}
