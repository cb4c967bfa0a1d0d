#pragma once

#include <QByteArray>
#include <QString>

/**
 * Writes the reply to a list request: {"ListData":[entries],"Omitted":n}, UTF-8. The caller decides which
 * members an entry has.
 *
 * The reply stays below kMaxSize: an entry that does not fit is left out and counted as omitted. The caller
 * then leaves out the later ones too, see isFull().
 */
class ListJson {
 public:
  /** Bytes. A stock bus disconnects a peer that has 32 MiB queued; half of it leaves space for other
   * messages. */
  static constexpr int kMaxSize = 16 * 1024 * 1024 - 4096;

  ListJson();

  /** Append a text in UTF-8 to `json`, as a JSON string. */
  static void appendQuoted(QByteArray& json, const QByteArray& utf8);

  /** Whether an entry was left out; the caller then counts the later ones with omitEntry(). */
  bool isFull() const { return m_omitted > 0; }

  void beginEntry();
  void addNumber(const QString& key, qint64 value);
  void addFlag(const QString& key, bool value);
  /** @param utf8 any text in UTF-8 */
  void addText(const QString& key, const QByteArray& utf8);
  /** @param time milliseconds since 1970-01-01 00:00:00 UTC; written as local time, ISO 8601 with
   * milliseconds, no offset */
  void addTime(const QString& key, qint64 time);
  /** @param json a complete JSON value */
  void addJson(const QString& key, const QByteArray& json);
  void endEntry();

  /** Count an entry that the caller leaves out. */
  void omitEntry() { ++m_omitted; }

  /** The complete document. The object must not be used afterwards. */
  QByteArray finish();

 private:
  void addKey(const QString& key);

  QByteArray m_json;
  int m_entryStart = 0;
  qint64 m_omitted = 0;
};
