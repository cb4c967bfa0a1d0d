#include "Schema.h"

#include <QDateTime>

namespace {

constexpr qint64 kApplicationId = 0x54617672;  // "Tavr", so that another program's file is recognised

// The tables of version 1. events: ids have no gaps and are never reused, so the oldest entries beyond the
// capacity are found by arithmetic. alarms: edge is the id of the event that turned the alarm on or off last;
// the list is ordered by it. sessions: used is higher for the session that stored a message later. state: one
// row.
constexpr char kTables[] = R"(
  CREATE TABLE events (
    id INTEGER PRIMARY KEY, event_type INTEGER NOT NULL, state INTEGER NOT NULL,
    icon_type TEXT NOT NULL, module_name TEXT NOT NULL, time INTEGER NOT NULL, description TEXT NOT NULL,
    keywords TEXT NOT NULL, user TEXT NOT NULL, alarm_id TEXT NOT NULL, object_name TEXT NOT NULL);
  CREATE TABLE alarms (
    alarm_id TEXT PRIMARY KEY, edge INTEGER NOT NULL, event_type INTEGER NOT NULL, active INTEGER NOT NULL,
    acknowledged INTEGER NOT NULL, icon_type TEXT NOT NULL, module_name TEXT NOT NULL, time INTEGER NOT NULL,
    description TEXT NOT NULL, keywords TEXT NOT NULL);
  CREATE INDEX alarms_by_edge ON alarms (edge);
  CREATE INDEX alarms_by_kind ON alarms (event_type, active);
  CREATE TABLE sessions (
    session TEXT PRIMARY KEY, sequence INTEGER NOT NULL, used INTEGER NOT NULL) WITHOUT ROWID;
  CREATE INDEX sessions_by_use ON sessions (used);
  CREATE TABLE state (
    event_generation INTEGER NOT NULL, alarm_generation INTEGER NOT NULL, detector INTEGER NOT NULL);
)";

// What version 2 adds. alarms: session raised the alarm, '' if unknown. sessions: user is the unix user,
// 2^32-1 if unknown. refusals: refused messages that their sender has not acknowledged. state: newest is the
// highest id ever used in events, epoch identifies the list.
constexpr char kAdditions[] = R"(
  ALTER TABLE alarms ADD COLUMN session TEXT NOT NULL DEFAULT '';
  CREATE INDEX alarms_by_session ON alarms (session) WHERE active;
  ALTER TABLE sessions ADD COLUMN user INTEGER NOT NULL DEFAULT 4294967295;
  CREATE TABLE refusals (
    session TEXT NOT NULL, sequence INTEGER NOT NULL, reason INTEGER NOT NULL,
    PRIMARY KEY (session, sequence)) WITHOUT ROWID;
  CREATE TRIGGER refusals_follow AFTER DELETE ON sessions BEGIN
    DELETE FROM refusals WHERE session = old.session; END;
  ALTER TABLE state ADD COLUMN newest INTEGER NOT NULL DEFAULT 0;
  ALTER TABLE state ADD COLUMN epoch INTEGER NOT NULL DEFAULT 0;
  UPDATE state SET epoch = 1 + abs(random() % 9000000000000000);
  PRAGMA user_version=2;
)";

void create(Database& database) {
  database.execute(kTables);
  const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
  Statement(database, "INSERT INTO state VALUES (?, ?, 0)").bind(0, now).bind(1, now).run();
  database.execute(("PRAGMA application_id=" + QByteArray::number(kApplicationId)).constData());
}

/** Version 1 let SQLite assign the ids. */
void takeNewestOver(Database& database) {
  database.execute(
      "UPDATE state SET newest = ifnull((SELECT seq FROM sqlite_sequence WHERE name = 'events'), 0)");
}

}  // namespace

void Schema::open(Database& database) {
  const bool empty = database.queryNumber("SELECT count(*) FROM sqlite_master") == 0;
  const qint64 version = empty ? 0 : database.queryNumber("PRAGMA user_version");
  if (!empty) {
    if (database.queryNumber("PRAGMA application_id") != kApplicationId) {
      throw StorageError(database.name() + " is another program's; use another file");
    }
    if (version > kVersion) {
      throw StorageError(database.name() +
                         " was written by a newer version; use that version, or another file to start empty");
    }
    if (database.queryText("PRAGMA quick_check(1)") != "ok") {
      throw StorageError(database.name() +
                         " is damaged; restore it from a copy or move it away to start empty");
    }
  }
  // Each commit is flushed to the disk, so a message that got its reply survives a power cut.
  database.execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA journal_size_limit=1048576");
  if (version < kVersion) {
    database.transaction([&database, empty] {
      if (empty) {
        create(database);
      }
      database.execute(kAdditions);
      if (!empty) {
        takeNewestOver(database);
      }
    });
  }
}
