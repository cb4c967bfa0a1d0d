#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <stdexcept>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

/** The storage failed; what() says why. The transaction must be rolled back. */
class StorageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/**
 * One SQLite connection with its transaction. It knows nothing of the tables; Schema does. Every operation
 * throws StorageError when the storage fails.
 */
class Database {
 public:
  /**
   * Open the database and lock it for this process.
   * @param file empty keeps everything in memory. A missing file is created. A file that is damaged,
   * read-only or in use by another process is refused and not changed.
   */
  explicit Database(const std::string& file);

  /** Run SQL that has no parameters and no results. */
  void execute(const char* sql);

  /** Run a query; its result is the first column of the first row. */
  qint64 queryNumber(const char* sql);
  QByteArray queryText(const char* sql);

  /** Row number of the last insertion. */
  qint64 lastInserted() const;

  /** Number of rows that the last statement inserted, updated or deleted. */
  qint64 changes() const;

  /** Start a transaction if none is open. */
  void begin();
  void commit();
  /** Reset all statements and undo the open transaction, if there is one. */
  void rollback() noexcept;

 private:
  friend class Statement;
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  std::unique_ptr<sqlite3, Close> m_connection;
};

/** One prepared statement; its database must outlive it. Columns and parameters count from 0. */
class Statement {
 public:
  Statement(Database& database, const char* sql);

  Statement& bind(int parameter, qint64 value);
  Statement& bind(int parameter, const QString& value);
  /** @param utf8 not copied: must live until run() or reset() returns */
  Statement& bind(int parameter, const QByteArray& utf8);

  /** Step to the next row. @return false if there is none; the statement can then be bound again */
  bool next();
  /** Execute a statement that has no result rows. */
  void run();
  /** End the statement although it may have more rows. */
  void reset() noexcept;

  qint64 number(int column) const;
  /** UTF-8, valid until the next step. */
  QByteArray text(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* m_connection;
  std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};
