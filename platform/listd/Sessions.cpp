#include "Sessions.h"

Sessions::Sessions(Database& database)
    : m_select(database, "SELECT 1 FROM sessions WHERE session = ? AND sequence >= ?"),
      m_upsert(database,
               "INSERT INTO sessions VALUES (?, ?, (SELECT ifnull(max(used), 0) + 1 FROM sessions))"
               " ON CONFLICT (session) DO UPDATE SET sequence = excluded.sequence, used = excluded.used"),
      m_prune(database,
              "DELETE FROM sessions WHERE used <="
              " (SELECT used FROM sessions ORDER BY used DESC LIMIT 1 OFFSET ?)"),
      m_count(database, "SELECT count(*) FROM sessions") {}

bool Sessions::seen(const QString& session, qint64 sequence) {
  m_select.bind(0, session).bind(1, sequence);
  const bool found = m_select.next();
  m_select.reset();
  return found;
}

void Sessions::record(const QString& session, qint64 sequence) {
  m_upsert.bind(0, session).bind(1, sequence).run();
}

void Sessions::prune() {
  m_prune.bind(0, qint64{kKept}).run();
}

qint64 Sessions::count() {
  m_count.next();
  const qint64 count = m_count.number(0);
  m_count.reset();
  return count;
}
