#include "Database.h"

#include <sqlite3.h>

namespace {

[[noreturn]] void refuse(sqlite3* connection, int code) {
  switch (code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      throw StorageError("the database is in use by another process; end that one or use another file");
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      throw StorageError("the database is damaged; restore it from a copy or move it away to start empty");
    case SQLITE_READONLY:
    case SQLITE_PERM:
      throw StorageError("the database cannot be written; give write access to the file and its folder");
    case SQLITE_CANTOPEN:
      throw StorageError("the database cannot be opened; check that the folder exists and can be written");
    case SQLITE_FULL:
      throw StorageError("no room left for the database; free some space");
    default:
      throw StorageError(std::string("the database failed: ") +
                         (connection != nullptr ? sqlite3_errmsg(connection) : sqlite3_errstr(code)));
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
}

void Database::execute(const char* sql) {
  check(m_connection.get(), sqlite3_exec(m_connection.get(), sql, nullptr, nullptr, nullptr));
}

qint64 Database::queryNumber(const char* sql) {
  Statement statement(*this, sql);
  return statement.next() ? statement.number(0) : 0;
}

QByteArray Database::queryText(const char* sql) {
  Statement statement(*this, sql);
  const QByteArray text = statement.next() ? statement.text(0) : QByteArray();
  return {text.constData(), text.size()};
}

qint64 Database::lastInserted() const {
  return sqlite3_last_insert_rowid(m_connection.get());
}

qint64 Database::changes() const {
  return sqlite3_changes64(m_connection.get());
}

void Database::begin() {
  if (sqlite3_get_autocommit(m_connection.get()) != 0) {
    execute("BEGIN");
  }
}

void Database::commit() {
  execute("COMMIT");
}

void Database::rollback() noexcept {
  // An exception may have left a statement with rows to read; it could not be bound again.
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

Statement::Statement(Database& database, const char* sql) : m_connection(database.m_connection.get()) {
  sqlite3_stmt* statement = nullptr;
  check(m_connection,
        sqlite3_prepare_v3(m_connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  m_statement.reset(statement);
}

Statement& Statement::bind(int parameter, qint64 value) {
  check(m_connection, sqlite3_bind_int64(m_statement.get(), parameter + 1, value));
  return *this;
}

Statement& Statement::bind(int parameter, const QString& value) {
  check(m_connection, sqlite3_bind_text16(m_statement.get(), parameter + 1, value.utf16(), value.size() * 2,
                                          SQLITE_TRANSIENT));
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

void Statement::reset() noexcept {
  sqlite3_reset(m_statement.get());
}

qint64 Statement::number(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

QByteArray Statement::text(int column) const {
  const auto* text = static_cast<const char*>(sqlite3_column_blob(m_statement.get(), column));
  return QByteArray::fromRawData(text, sqlite3_column_bytes(m_statement.get(), column));
}
