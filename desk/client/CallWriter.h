#pragma once

#include <systemd/sd-bus.h>

#include <QString>
#include <QStringList>
#include <QVariant>
#include <array>

namespace Tavroline {

/**
 * Writes one method call: converts Qt values to the bus's types. In texts, busText() replaces characters that
 * the bus does not accept.
 *
 * After the first failure nothing more is written, so the caller checks error() once, after the last value.
 * The destructor releases the message. [hub]
 */
class CallWriter {
 public:
  /** Maximum size of a message, as estimated here. The bus disconnects a client that sends an oversized
   * message; writing fails before that. */
  static constexpr std::size_t kMaximumBytes = 1U << 20U;
  /** Maximum levels of lists and maps that hold values, that of map() included. The bus disconnects a client
   * whose message nests more than 64 containers; a map takes three of them, a list two. */
  static constexpr int kMaximumDepth = 16;

  CallWriter(sd_bus* bus, const char* destination, const char* path, const char* interface,
             const char* member);
  ~CallWriter() { sd_bus_message_unref(m_message); }
  CallWriter(const CallWriter&) = delete;
  CallWriter& operator=(const CallWriter&) = delete;

  CallWriter& int32(qint32 value) { return basic('i', &value); }
  CallWriter& uint32(quint32 value) { return basic('u', &value); }
  CallWriter& int64(qint64 value) { return basic('x', &value); }
  CallWriter& uint64(quint64 value) { return basic('t', &value); }
  CallWriter& text(const QString& value);
  CallWriter& texts(const QStringList& values);

  /** Write as a{sv}. Its values may be int, bool, double, QString, lists (av) and maps (a{sv}); a value of
   * another type is a failure. */
  CallWriter& map(const QVariantMap& values) { return map(values, 0); }

  /** Write as a{st}: values[i] under names[i], a Latin-1 text. */
  template <std::size_t Count>
  CallWriter& counters(const std::array<const char*, Count>& names,
                       const std::array<quint64, Count>& values) {
    open('a', "{st}");
    for (std::size_t i = 0; i < Count; ++i) {
      open('e', "st");
      text(QLatin1String(names[i])).uint64(values[i]);
      close();
    }
    close();
    return *this;
  }

  /** Tell the service not to reply; the bus then does not count the call as outstanding. */
  void expectNoReply() {
    if (m_error == 0) {
      note(sd_bus_message_set_expect_reply(m_message, 0));
    }
  }

  /** 0, or the negative errno of the first failure. */
  int error() const { return m_error; }

  /** The message, owned by this object; null if it could not be created. */
  sd_bus_message* message() const { return m_message; }

 private:
  CallWriter& basic(char type, const void* value);
  CallWriter& map(const QVariantMap& values, int depth);
  void list(const QVariantList& values, int depth);
  void variant(const QVariant& value, int depth);
  void open(char type, const char* contents);
  void close();
  void note(int result);

  sd_bus_message* m_message = nullptr;
  std::size_t m_bytes = 0;
  int m_error = 0;
};

}  // namespace Tavroline
