#include "Schema.h"

#include <QDateTime>

namespace {

constexpr qint64 kApplicationId = 0x54617672;  // "Tavr", so that another program's file is recognised

// events: ids of stored entries have no gaps and are never reused, so the oldest entries beyond the capacity
// are found by arithmetic. alarms: edge is the id of the event that turned the alarm on or off last; the list
// is ordered by it. sessions: used is higher for the session that stored a message later. state: one row.
constexpr char kTables[] = R"(
  CREATE TABLE events (
    id INTEGER PRIMARY KEY AUTOINCREMENT, event_type INTEGER NOT NULL, state INTEGER NOT NULL,
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

void create(Database& database) {
  database.execute("BEGIN");
  database.execute(kTables);
  const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
  Statement(database, "INSERT INTO state VALUES (?, ?, 0)").bind(0, now).bind(1, now).run();
  database.execute(("PRAGMA application_id=" + QByteArray::number(kApplicationId)).constData());
  database.execute(("PRAGMA user_version=" + QByteArray::number(Schema::kVersion)).constData());
  database.execute("COMMIT");
}

}  // namespace

void Schema::open(Database& database) {
  const bool empty = database.queryNumber("SELECT count(*) FROM sqlite_master") == 0;
  if (!empty) {
    if (database.queryNumber("PRAGMA application_id") != kApplicationId) {
      throw StorageError("the file is another program's database; use another file");
    }
    if (database.queryNumber("PRAGMA user_version") != kVersion) {
      throw StorageError(
          "the database was written by a newer version; use that version, or another file to start empty");
    }
    if (database.queryText("PRAGMA quick_check(1)") != "ok") {
      throw StorageError("the database is damaged; restore it from a copy or move it away to start empty");
    }
  }
  // Each commit is flushed to the disk, so a message that got its reply survives a power cut.
  database.execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
  if (empty) {
    create(database);
  }
}
