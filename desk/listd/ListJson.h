#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Database.h"

class QString;

inline std::string_view viewOf(const QByteArray& text) {
  return {text.constData(), static_cast<std::size_t>(text.size())};
}

/**
 * Writes the reply to a list request from the rows of a query: {"ListData":[entries],"Omitted":n}, UTF-8.
 *
 * The reply stays below kMaxSize: from the first entry that does not fit on, entries are left out. They are
 * omitted ones, and so are those beyond the query's limit. A row whose description or keywords cannot be read
 * is left out and counted in unreadable().
 */
class ListJson {
 public:
  /** Bytes. A stock bus disconnects a peer that has 32 MiB queued; half of it leaves space for other
   * messages. */
  static constexpr int kMaxSize = 16 * 1024 * 1024 - 4096;

  /** How a column is shown: a time (ms since 1970-01-01 00:00:00 UTC) as local time, ISO 8601 with
   * milliseconds and no offset; a description as its text; keywords as the stored array. */
  enum class Form { Number, Flag, Text, Time, Description, Keywords };

  /** A member of each entry; in the order of the query's columns. */
  struct Column {
    Column(const QString& name, Form form);
    QByteArray key;
    Form form;
  };

  /** @param language of the descriptions, see DescriptionText; both must outlive this object */
  ListJson(const std::vector<Column>& columns, const QByteArray& language)
      : m_columns(columns), m_language(language) {}

  /** @param rows bound and not yet run; @param count their number; @param omitted number of entries that the
   * query leaves out */
  QByteArray write(Statement& rows, qint64 count, qint64 omitted = 0);
  qint64 unreadable() const { return m_unreadable; }
  /** The number in the first column of the last row that was not omitted; 0 without rows. */
  qint64 lastNumber() const { return m_lastNumber; }

  /** Append a text in UTF-8 to `json`, as a JSON string. */
  static void appendQuoted(QByteArray& json, std::string_view utf8);

 private:
  static constexpr qint64 kNone = -1000000;

  bool addEntry(const Statement& row);
  bool addValue(const Statement& row, int column, Form form);
  void addTime(qint64 time);
  void addDigits(char separator, qint64 number, int digits);
  bool addKeywords(std::string_view keywords);

  const std::vector<Column>& m_columns;
  const QByteArray& m_language;
  QByteArray m_json;
  qint64 m_unreadable = 0;
  qint64 m_lastNumber = 0;
  qint64 m_quarter = kNone;  ///< quarter of an hour for which m_offset holds
  qint64 m_offset = 0;       ///< of local time from UTC, in ms
  qint64 m_day = kNone;      ///< since 1970-01-01, for which m_date holds
  QByteArray m_date;
  std::string m_text;
};
