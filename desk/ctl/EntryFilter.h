#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>

#include <optional>
#include <string>
#include <vector>

/** The user's conditions for the entries of a list, in UTF-8; without conditions every entry passes. */
struct EntryFilter {
  using Texts = std::vector<std::string>;

  Texts types;             ///< names of event types; empty: every type
  Texts keywords;          ///< the entry has at least one of them; empty: no condition
  Texts excludedKeywords;  ///< the entry has none of them
  QDateTime since;         ///< inclusive, as `until`; invalid: no bound
  QDateTime until;
  std::optional<bool> active;        ///< only alarms in this state; no value: no condition
  std::optional<bool> acknowledged;  ///< as `active`

  /** Whether every entry passes. */
  bool isEmpty() const;

  /** The entries of ListClient that pass, in their order; the first `count` of them, 0 for all. */
  QJsonArray passing(const QJsonArray& entries, quint32 count = 0) const;

  /** The time at which a clock shows this date and time. @param ahead see ListClient::ahead() */
  static QDateTime clockTime(QDate date, QTime time, int ahead);

  /**
   * Parse a point in time: a date, a date and a time, a time of today, a day by name, seconds since 1970 (@)
   * or an age (15m; s, m, h, d, w).
   * @param text without an offset it is a time of the service's clock
   * @param atEnd a date without a time means the end of that day, not its start
   * @param ahead see ListClient::ahead()
   * @return invalid if the text has another form
   */
  static QDateTime time(const std::string& text, bool atEnd, int ahead = 0);

 private:
  bool passes(const QJsonObject& entry) const;
};
