#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QVector>

#include <optional>

/** Which entries of a list a person wants to see; without conditions all of them. [any-thread] */
struct EntryFilter {
  QVector<int> types;            ///< as the lists number them; empty: every type
  QStringList keywords;          ///< at least one of them; empty: whatever the entry carries
  QStringList excludedKeywords;  ///< none of them
  QDateTime since;               ///< inclusive, like the next; invalid: no bound
  QDateTime until;
  std::optional<bool> active;  ///< alarms in this state only
  std::optional<bool> acknowledged;

  /** Whether every entry passes. */
  bool isEmpty() const;

  /** The entries that pass, in their order; the first `count` of them, 0 for all. */
  QJsonArray passing(const QJsonArray& entries, quint32 count = 0) const;

  /** The names of the types, in the order of their numbers. */
  static const QStringList& typeNames();

  /**
   * Read a point in local time: a date, a date and a time, a time of today, or how long ago (15m; s, m, h,
   * d).
   * @param text in UTF-8
   * @param atEnd a date alone means the end of that day, not its start
   * @return invalid when the text is none of these
   */
  static QDateTime time(const std::string& text, bool atEnd);

 private:
  bool passes(const QJsonObject& entry) const;
};
