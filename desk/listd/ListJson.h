#pragma once

#include <QByteArray>
#include <QString>

/**
 * Writes the reply of a list request as it grows: {"ListData":[entries],"Omitted":n}, UTF-8. It does not know
 * which members an entry has.
 *
 * The reply stays below kMaxSize: the first entry that does not fit ends it, and that entry and all later
 * ones are counted as omitted. [any-thread]
 */
class ListJson {
 public:
  /** A bus of the usual size disconnects a peer at 32 MiB; half of it leaves room for what else is queued. */
  static constexpr int kMaxSize = 16 * 1024 * 1024 - 4096;

  ListJson();

  /** Append a text, in UTF-8, as a JSON string to anything. */
  static void appendQuoted(QByteArray& json, const QByteArray& utf8);

  /** Whether an entry was left out, so that later ones only have to be counted. */
  bool isFull() const { return m_omitted > 0; }

  void beginEntry();
  void addNumber(const QString& key, qint64 value);
  void addFlag(const QString& key, bool value);
  /** @param utf8 any text in UTF-8 */
  void addText(const QString& key, const QByteArray& utf8);
  /** @param time milliseconds since 1970 UTC; written as local time, ISO 8601 with milliseconds, no offset */
  void addTime(const QString& key, qint64 time);
  /** @param json a complete JSON value */
  void addJson(const QString& key, const QByteArray& json);
  void endEntry();

  /** Count an entry that is not written. */
  void omitEntry() { ++m_omitted; }

  /** The complete document; the object is used up. */
  QByteArray finish();

 private:
  void addKey(const QString& key);

  QByteArray m_json;
  int m_entryStart = 0;
  qint64 m_omitted = 0;
};
