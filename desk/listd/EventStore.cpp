#include "EventStore.h"

#include <QDateTime>

#include <limits>

#include "EventlistHandlerDefinitions.h"

namespace {

const std::string kColumns = "id, event_type, icon_type, time, module_name, description, user, keywords";

/** How each of kColumns is shown. */
const std::vector<ListJson::Column>& listColumns() {
  using Names = EventlistHandlerDefinitions;
  using Form = ListJson::Form;
  static const std::vector<ListJson::Column> kShown{
      {Names::getListColumnNameEventlistId(), Form::Number},
      {Names::getListColumnNameEventType(), Form::Number},
      {Names::getListColumnNameIconType(), Form::Text},
      {Names::getListColumnNameLocalTime(), Form::Time},
      {Names::getListColumnNameModuleName(), Form::Text},
      {Names::getListColumnNameDescription(), Form::Description},
      {Names::getListColumnNameUser(), Form::Text},
      {Names::getListColumnNameKeywords(), Form::Keywords}};
  return kShown;
}

}  // namespace

EventStore::EventStore(Database& database, const Limits& limits)
    : m_database(database),
      m_limits(limits),
      m_insert(database, "INSERT INTO events VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      m_excess(database, "SELECT id < ?1 OR time < ?2 FROM events ORDER BY id LIMIT 1"),
      m_drop(database,
             "DELETE FROM events WHERE id < max(?1, ifnull("
             "(SELECT id FROM events WHERE time >= ?2 ORDER BY id LIMIT 1), ?3))"),
      m_clear(database, "DELETE FROM events"),
      m_select(database, "SELECT " + kColumns + " FROM events ORDER BY id DESC LIMIT ?"),
      m_page(database, "SELECT " + kColumns + ", time FROM events WHERE id > ? ORDER BY id LIMIT ?"),
      m_oldest(database, "SELECT min(id) FROM events") {}

qint64 EventStore::append(const StoredEntry& entry) {
  m_insert.bind(0, m_newest + 1).bind(1, qint64{entry.eventType}).bind(2, qint64{entry.state});
  m_insert.bind(3, entry.iconType).bind(4, entry.moduleName).bind(5, entry.time).bind(6, entry.description);
  m_insert.bind(7, entry.keywords).bind(8, entry.user).bind(9, entry.alarmId).bind(10, entry.objectName);
  m_insert.run();
  return ++m_newest;
}

/** Bind the lowest number and the lowest time that are kept. */
Statement& EventStore::bindLimits(Statement& statement) {
  const qint64 now = QDateTime::currentMSecsSinceEpoch();
  const qint64 age = std::chrono::milliseconds(m_limits.keep).count();
  return statement.bind(0, m_newest - m_limits.capacity + 1)
      .bind(1, age > 0 ? now - age : std::numeric_limits<qint64>::min());
}

bool EventStore::hasExcess() {
  return bindLimits(m_excess).value() != 0;
}

quint64 EventStore::trim() {
  bindLimits(m_drop).bind(2, m_newest + 1).run();
  return static_cast<quint64>(m_database.changes());
}

bool EventStore::clear() {
  m_clear.run();
  return m_database.changes() > 0;
}

QByteArray EventStore::list(quint32 count, const QByteArray& language) {
  const qint64 wanted = count == 0 ? this->count() : qMin<qint64>(count, this->count());
  const qint64 shown = qMin(wanted, m_limits.reply);
  return write(m_select.bind(0, shown), listColumns(), language, shown, wanted - shown).list;
}

EventStore::Page EventStore::page(qint64 after, qint64 count, const QByteArray& language) {
  static const std::vector<ListJson::Column> kShown = [] {
    std::vector<ListJson::Column> columns = listColumns();
    columns.emplace_back(QStringLiteral("Time"), ListJson::Form::Number);
    return columns;
  }();
  const qint64 wanted = qMin(count, m_newest - qMax(after, oldest() - 1));
  return write(m_page.bind(0, after).bind(1, count), kShown, language, wanted);
}

EventStore::Page EventStore::write(Statement& rows, const std::vector<ListJson::Column>& columns,
                                   const QByteArray& language, qint64 count, qint64 omitted) {
  ListJson json(columns, language);
  QByteArray list = json.write(rows, count, omitted);
  m_unreadable = json.unreadable();
  return {list, json.lastNumber()};
}

qint64 EventStore::oldest() {
  const qint64 oldest = m_oldest.value();
  return oldest != 0 ? oldest : m_newest + 1;
}
