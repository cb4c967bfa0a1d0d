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
 * that is not noexcept throws StorageError when the storage fails.
 */
class Database {
 public:
  /**
   * Open the database and lock it for this process.
   * @param file empty keeps everything in memory. A missing file is created. A file that is no SQLite
   * database, is read-only or in use by another process is refused and not changed; Schema::open() checks for
   * other damage.
   */
  explicit Database(const std::string& file);

  /** Run SQL statements that have no parameters; their results are discarded. */
  void execute(const char* sql);

  /** Run a query. @return the first column of the first row; 0 or empty if there is no row. */
  qint64 queryNumber(const char* sql);
  QByteArray queryText(const char* sql);

  /** Row number (id) of the last inserted row. */
  qint64 lastInserted() const;

  /** Number of rows that the last INSERT, UPDATE or DELETE statement changed. */
  qint64 changes() const;

  /** Start a transaction if none is open. */
  void begin();
  /** Commit the open transaction; there must be one. */
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
  /** @param utf8 not copied: must live until run() or reset() has returned, or next() has returned false */
  Statement& bind(int parameter, const QByteArray& utf8);

  /** Step to the next row. @return false if there is none; the statement can then be bound again */
  bool next();
  /** Execute a statement that has no (further) result rows. */
  void run();
  /** End the statement although it may have more rows. */
  void reset() noexcept;

  /** Values of the present row, after next() returned true. The text is UTF-8, not copied: valid until
   * next(), run() or reset(). */
  qint64 number(int column) const;
  QByteArray text(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* m_connection;
  std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};
