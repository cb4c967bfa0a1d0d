#pragma once

#include <QByteArrayList>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

/** The storage failed. what() says why and names the file. */
class StorageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** There is no room left for the database. */
class StorageFull : public StorageError {
 public:
  using StorageError::StorageError;
};

/**
 * One SQLite connection with its transactions. It knows nothing of the tables; Schema does. Every operation
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

  /** Number of rows that the last INSERT, UPDATE or DELETE statement changed. */
  qint64 changes() const;

  /** Run `work` in a transaction. If it throws, nothing has changed. If there is no room left, the journal is
   * written to the database and truncated, and the work done once more. */
  template <class Work>
  void transaction(const Work& work) {
    try {
      tryTransaction(work);
    } catch (const StorageFull&) {
      truncateJournal();
      tryTransaction(work);
    }
  }

  /** Give unused room back to the disk, if that is possible: most of the file, and the journal. */
  void compact() noexcept;

  /** Reset all statements and undo the open transaction, if there is one. An exception between the rows of a
   * query leaves its statement unusable until then. */
  void rollback() noexcept;

  /** What messages call the database: with its file, if there is one. */
  std::string name() const;

 private:
  template <class Work>
  void tryTransaction(const Work& work) {
    execute("BEGIN");
    try {
      work();
      execute("COMMIT");
    } catch (...) {
      rollback();
      throw;
    }
  }
  void truncateJournal();

  friend class Statement;
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  std::unique_ptr<sqlite3, Close> m_connection;
};

/** One prepared statement; its database must outlive it. Columns and parameters count from 0. */
class Statement {
 public:
  Statement(Database& database, const std::string& sql);

  Statement& bind(int parameter, qint64 value);
  /** @param utf8 not copied: must live until run() or reset() has returned, or next() has returned false */
  Statement& bind(int parameter, const QByteArray& utf8);

  /** Step to the next row. @return false if the result has no further row; the statement can then be bound
   * again */
  bool next();
  /** Execute a statement that has no (further) result rows. */
  void run();
  /** Run a query of one number. @return it; 0 if there is no row */
  qint64 value();
  /** Run a query. @return copies of the texts in its first column */
  QByteArrayList texts();
  /** End the statement although it may have more rows. */
  void reset() noexcept;

  /** Values of the present row, after next() returned true. A view is valid until next(), run() or reset().
   */
  qint64 number(int column) const;
  std::string_view view(int column) const;
  QByteArray copy(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* m_connection;
  std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};
