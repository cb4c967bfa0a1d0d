#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QVector>

#include <optional>

/** The user's conditions for the entries of a list; without conditions every entry passes. */
struct EntryFilter {
  QVector<int> types;            ///< numbers of event types; empty: every type
  QStringList keywords;          ///< the entry has at least one of them; empty: no condition
  QStringList excludedKeywords;  ///< the entry has none of them
  QDateTime since;               ///< inclusive, as `until`; invalid: no bound
  QDateTime until;
  std::optional<bool> active;        ///< only alarms in this state; no value: no condition
  std::optional<bool> acknowledged;  ///< as `active`

  /** Whether every entry passes. */
  bool isEmpty() const;

  /** The entries that pass, in their order; the first `count` of them, 0 for all. */
  QJsonArray passing(const QJsonArray& entries, quint32 count = 0) const;

  /** The time of an entry of ListClient, with its offset from UTC. */
  static QDateTime timeOf(const QJsonObject& entry);

  /** The time at which a clock shows this date and time. @param ahead see ListClient::ahead() */
  static QDateTime clockTime(QDate date, QTime time, int ahead);

  /** The names of the types, in the order of their numbers. */
  static const QStringList& typeNames();

  /**
   * Parse a point in time: a date, a date and a time, a time of today, or an age (15m; s, m, h, d).
   * @param text in UTF-8; without an offset it is a time of the service's clock
   * @param atEnd a date without a time means the end of that day, not its start
   * @param ahead see ListClient::ahead()
   * @return invalid if the text has another form
   */
  static QDateTime time(const std::string& text, bool atEnd, int ahead = 0);

 private:
  bool passes(const QJsonObject& entry) const;
};
