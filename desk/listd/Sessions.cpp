#include "Sessions.h"

Sessions::Sessions(Database& database)
    : m_select(database, "SELECT sequence FROM sessions WHERE session = ?"),
      m_upsert(database,
               "INSERT INTO sessions VALUES (?, ?, (SELECT ifnull(max(used), 0) + 1 FROM sessions))"
               " ON CONFLICT (session) DO UPDATE SET sequence = excluded.sequence, used = excluded.used"),
      m_prune(database,
              "DELETE FROM sessions WHERE used <="
              " (SELECT used FROM sessions ORDER BY used DESC LIMIT 1 OFFSET ?)"),
      m_count(database, "SELECT count(*) FROM sessions") {}

bool Sessions::seen(const QString& session, qint64 sequence) {
  if (session != m_session) {
    flush();
    m_session.clear();
    m_select.bind(0, session);
    m_sequence = m_select.next() ? m_select.number(0) : 0;
    m_select.reset();
    m_session = session;
  }
  return sequence <= m_sequence;
}

void Sessions::record(qint64 sequence) {
  m_sequence = sequence;
  m_recorded = true;
}

void Sessions::write() {
  flush();
  m_prune.bind(0, qint64{kKept}).run();
}

void Sessions::forget() noexcept {
  m_session.clear();
  m_recorded = false;
}

void Sessions::flush() {
  if (!m_recorded) {
    return;
  }
  m_upsert.bind(0, m_session).bind(1, m_sequence).run();
  m_recorded = false;
}

qint64 Sessions::count() {
  m_count.next();
  const qint64 count = m_count.number(0);
  m_count.reset();
  return count;
}
