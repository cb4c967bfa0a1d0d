#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <stdexcept>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

/** The storage refused: what() says why. Nothing of the transaction it happened in may be kept. */
class StorageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/**
 * One SQLite connection with its transaction, and prepared statements on it. It knows nothing of the tables;
 * Schema does. Every operation throws StorageError when the storage refuses. All of it belongs to the
 * service's only thread. [any-thread]
 */
class Database {
 public:
  /**
   * Open and lock for this process alone.
   * @param file empty keeps everything in memory. A file that is missing is created; one that is damaged,
   * read-only or in use by another process is refused and stays as it is.
   */
  explicit Database(const std::string& file);

  /** Run SQL without parameters and results. */
  void execute(const char* sql);

  /** First column of the first row, as a number or a text. */
  qint64 queryNumber(const char* sql);
  QByteArray queryText(const char* sql);

  /** Number of the row that was inserted last. */
  qint64 lastInserted() const;

  /** Rows that the last statement inserted, updated or deleted. */
  qint64 changes() const;

  /** Start a transaction if there is none. */
  void begin();
  void commit();
  /** End all statements and the transaction, if there is one, without keeping anything of it; never throws.
   */
  void rollback() noexcept;

 private:
  friend class Statement;
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  std::unique_ptr<sqlite3, Close> m_connection;
};

/** One prepared statement; lives no longer than its database. Columns and parameters count from 0. */
class Statement {
 public:
  Statement(Database& database, const char* sql);

  Statement& bind(int parameter, qint64 value);
  Statement& bind(int parameter, const QString& value);
  /** @param utf8 kept by reference until run() returns or reset() */
  Statement& bind(int parameter, const QByteArray& utf8);

  /** Step to the next row. @return false, and ready to be bound anew, when there is none */
  bool next();
  /** Execute a statement that gives no rows. */
  void run();
  /** End the statement before its last row. */
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
