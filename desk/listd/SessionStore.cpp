#include "SessionStore.h"

SessionStore::SessionStore(Database& database)
    : m_select(database, "SELECT sequence, user FROM sessions WHERE session = ?"),
      m_upsert(database,
               "INSERT INTO sessions VALUES (?, ?, (SELECT ifnull(max(used), 0) + 1 FROM sessions), ?)"
               " ON CONFLICT (session) DO UPDATE SET"
               " sequence = excluded.sequence, used = excluded.used, user = excluded.user"),
      m_prune(database,
              "DELETE FROM sessions WHERE used <="
              " (SELECT used FROM sessions ORDER BY used DESC LIMIT 1 OFFSET ?)"),
      m_count(database, "SELECT count(*) FROM sessions"),
      m_refuse(database, "INSERT OR REPLACE INTO refusals VALUES (?, ?, ?)"),
      m_forgetRefused(database, "DELETE FROM refusals WHERE session = ? AND sequence <= ?"),
      m_selectRefused(database,
                      "SELECT sequence, reason FROM refusals WHERE session = ? AND sequence > ?"
                      " ORDER BY sequence") {}

SessionStore::Session SessionStore::find(const QByteArray& session) {
  Session found;
  if (m_select.bind(0, session).next()) {
    found = {true, static_cast<quint64>(m_select.number(0)), static_cast<quint32>(m_select.number(1))};
    m_select.reset();
  }
  return found;
}

void SessionStore::write(const QByteArray& session, quint64 upTo, quint32 user) {
  const bool isNew = !find(session).known;
  m_upsert.bind(0, session).bind(1, static_cast<qint64>(upTo)).bind(2, qint64{user}).run();
  if (isNew) {
    m_prune.bind(0, kKept).run();
  }
}

void SessionStore::refuse(const QByteArray& session, quint64 number, quint32 reason) {
  m_refuse.bind(0, session).bind(1, static_cast<qint64>(number)).bind(2, qint64{reason}).run();
}

void SessionStore::forgetRefused(const QByteArray& session, quint64 upTo) {
  m_forgetRefused.bind(0, session).bind(1, static_cast<qint64>(upTo)).run();
}

std::vector<std::pair<quint64, quint32>> SessionStore::refused(const QByteArray& session, quint64 after) {
  std::vector<std::pair<quint64, quint32>> refused;
  m_selectRefused.bind(0, session).bind(1, static_cast<qint64>(after));
  while (m_selectRefused.next()) {
    refused.emplace_back(m_selectRefused.number(0), m_selectRefused.number(1));
  }
  return refused;
}
