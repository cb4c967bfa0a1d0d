#include "Database.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

constexpr std::intmax_t kSmallDisk = 64 << 20;  // bytes left
// Bytes of them that the journal keeps, so that a full list can still be deleted.
constexpr std::intmax_t kJournalRoom = 192 << 10;
constexpr std::intmax_t kPageSize = 4096;  // SQLite's

std::string nameOf(sqlite3* connection) {
  const char* const file = connection != nullptr ? sqlite3_db_filename(connection, "main") : nullptr;
  return file != nullptr && *file != 0 ? std::string("the database ") + file : "the database";
}

[[noreturn]] void refuse(sqlite3* connection, int code) {
  const std::string name = nameOf(connection);
  switch (code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      throw StorageError(name + " is in use by another process; end that one or use another file");
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      throw StorageError(name + " is damaged; restore it from a copy or move it away to start empty");
    case SQLITE_READONLY:
    case SQLITE_PERM:
      throw StorageError(name + " cannot be written; give write access to the file and its folder");
    case SQLITE_CANTOPEN:
      throw StorageError(name + " cannot be opened; check that the folder exists and can be written");
    case SQLITE_FULL:
      throw StorageFull("no room left for " + name + "; free some space");
    default:
      throw StorageError(
          name + " failed: " + (connection != nullptr ? sqlite3_errmsg(connection) : sqlite3_errstr(code)));
  }
}

void check(sqlite3* connection, int code) {
  if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) {
    refuse(connection, code);
  }
}

}  // namespace

void Database::Close::operator()(sqlite3* connection) const {
  sqlite3_close(connection);
}

Database::Database(const std::string& file) {
  sqlite3* connection = nullptr;
  const int code = sqlite3_open_v2(file.empty() ? ":memory:" : file.c_str(), &connection,
                                   SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  m_connection.reset(connection);  // also set if opening failed
  check(connection, code);
  // SQLite opens a file read-only, without an error, if it must not be written.
  if (sqlite3_db_readonly(connection, "main") == 1) {
    refuse(connection, SQLITE_READONLY);
  }
  // The lock is held until the connection is closed. Locking does not change the file.
  execute("PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT");
  // On a small disk the journal's usual 4 MiB would take the room of the database, and a deletion that
  // overwrites what it deletes would need as much room again.
  std::error_code unknown;
  const auto left = static_cast<std::intmax_t>(std::filesystem::space(file, unknown).available);
  if (!unknown && left < kSmallDisk) {
    const auto more = std::max<std::intmax_t>(left - kJournalRoom, 0) / kPageSize;
    const std::string pages = std::to_string(queryNumber("PRAGMA page_count") + more);
    execute(
        ("PRAGMA wal_autocheckpoint=32; PRAGMA secure_delete=FAST; PRAGMA max_page_count=" + pages).c_str());
  }
}

void Database::execute(const char* sql) {
  check(m_connection.get(), sqlite3_exec(m_connection.get(), sql, nullptr, nullptr, nullptr));
}

qint64 Database::queryNumber(const char* sql) {
  return Statement(*this, sql).value();
}

QByteArray Database::queryText(const char* sql) {
  Statement statement(*this, sql);
  return statement.next() ? statement.copy(0) : QByteArray();
}

qint64 Database::changes() const {
  return sqlite3_changes64(m_connection.get());
}

std::string Database::name() const {
  return nameOf(m_connection.get());
}

void Database::truncateJournal() {
  execute("PRAGMA wal_checkpoint(TRUNCATE)");
}

void Database::compact() noexcept {
  try {
    if (queryNumber("PRAGMA freelist_count") > queryNumber("PRAGMA page_count") / 2) {
      execute("VACUUM");
    }
    truncateJournal();
  } catch (const std::exception&) {
    rollback();
  }
}

void Database::rollback() noexcept {
  for (auto* statement = sqlite3_next_stmt(m_connection.get(), nullptr); statement != nullptr;
       statement = sqlite3_next_stmt(m_connection.get(), statement)) {
    sqlite3_reset(statement);
  }
  // SQLite itself ends the transaction on some failures.
  if (sqlite3_get_autocommit(m_connection.get()) == 0) {
    sqlite3_exec(m_connection.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

Statement::Statement(Database& database, const std::string& sql) : m_connection(database.m_connection.get()) {
  sqlite3_stmt* statement = nullptr;
  check(m_connection,
        sqlite3_prepare_v3(m_connection, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  m_statement.reset(statement);
}

Statement& Statement::bind(int parameter, qint64 value) {
  check(m_connection, sqlite3_bind_int64(m_statement.get(), parameter + 1, value));
  return *this;
}

Statement& Statement::bind(int parameter, const QByteArray& utf8) {
  check(m_connection,
        sqlite3_bind_text(m_statement.get(), parameter + 1, utf8.constData(), utf8.size(), SQLITE_STATIC));
  return *this;
}

bool Statement::next() {
  const int code = sqlite3_step(m_statement.get());
  if (code == SQLITE_ROW) {
    return true;
  }
  reset();
  check(m_connection, code);
  return false;
}

void Statement::run() {
  next();
  reset();
}

qint64 Statement::value() {
  const qint64 value = next() ? number(0) : 0;
  reset();
  return value;
}

QByteArrayList Statement::texts() {
  QByteArrayList texts;
  while (next()) {
    texts.append(copy(0));
  }
  return texts;
}

void Statement::reset() noexcept {
  sqlite3_reset(m_statement.get());
}

qint64 Statement::number(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

std::string_view Statement::view(int column) const {
  const auto* text = static_cast<const char*>(sqlite3_column_blob(m_statement.get(), column));
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

QByteArray Statement::copy(int column) const {
  const std::string_view text = view(column);
  return {text.data(), static_cast<int>(text.size())};
}
