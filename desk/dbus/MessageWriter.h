#pragma once

#include <QString>
#include <QStringList>
#include <QVarLengthArray>
#include <QVariant>
#include <string_view>

#include "MessageFormat.h"

namespace Tavroline {

/**
 * Encodes one message in the form of MessageFormat.h from Qt values. Client and tavroline-ctl use it.
 *
 * An object encodes one message: call one of the four functions, once. A usual message needs no memory but
 * the object's own. Texts pass busText(). All functions may throw std::bad_alloc. [any-thread]
 */
class MessageWriter {
 public:
  /** Maximum levels of lists and maps that hold values, the description itself included. */
  static constexpr int kMaxNesting = 16;

  MessageWriter() = default;
  MessageWriter(const MessageWriter&) = delete;
  MessageWriter& operator=(const MessageWriter&) = delete;

  /**
   * An entry for the event list.
   * @param alarmId empty for an event; otherwise the entry is an edge of this alarm or fault
   * @param time ms since 1970-01-01 00:00:00 UTC
   * @param description its values are int, bool, double, QString, QVariantList or QVariantMap; a value of
   * another type makes the message unsendable
   * @param kind Entry or EntryByHand
   */
  void entry(const QString& alarmId, int state, int eventType, qint64 time, const QString& iconType,
             const QString& moduleName, const QString& user, const QString& objectName,
             const QStringList& keywords, const QVariantMap& description,
             MessageFormat::Kind kind = MessageFormat::Kind::Entry);
  /** @param user who deletes; empty for a program, which leaves no entry behind */
  void deleteEvents(const QString& user = {});
  void acknowledgeAlarms(const QString& user, const QStringList& alarmIds);
  void acknowledgeDetector(const QString& user);

  /** False if the message is longer than MessageFormat::kMaxMessageBytes, nested deeper than kMaxNesting or
   * holds a value that has no form. */
  bool isSendable() const { return m_sendable; }

  /** The message with its size field, valid as long as this object; only if isSendable(). */
  std::string_view bytes() const;

 private:
  // Most messages of PLC programs are shorter than half of this.
  static constexpr int kUsualBytes = 4096;

  void begin(MessageFormat::Kind kind);
  void finish();
  template <typename Number>
  void number(Number value);
  void count(int value) { number(static_cast<quint32>(value)); }
  void tag(MessageFormat::Tag tag) { number(static_cast<quint8>(tag)); }
  void text(const QString& value);
  void texts(const QStringList& values);
  void map(const QVariantMap& values, int depth);
  void list(const QVariantList& values, int depth);
  void value(const QVariant& value, int depth);
  bool mayAppend(int bytes);
  char* append(int bytes);

  QVarLengthArray<char, kUsualBytes> m_bytes;
  bool m_sendable = true;
};

}  // namespace Tavroline
