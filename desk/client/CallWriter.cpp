#include "CallWriter.h"

#include <cerrno>

#include "BusText.h"

namespace Tavroline {

CallWriter::CallWriter(sd_bus* bus, const char* destination, const char* path, const char* interface,
                       const char* member) {
  note(sd_bus_message_new_method_call(bus, &m_message, destination, path, interface, member));
}

CallWriter& CallWriter::text(const QString& value) {
  const QByteArray bytes = busText(value).toUtf8();
  m_bytes += static_cast<std::size_t>(bytes.size());
  return basic('s', bytes.constData());
}

CallWriter& CallWriter::texts(const QStringList& values) {
  open('a', "s");
  for (const QString& value : values) {
    if (m_error < 0) {
      break;
    }
    text(value);
  }
  close();
  return *this;
}

CallWriter& CallWriter::map(const QVariantMap& values, int depth) {
  open('a', "{sv}");
  for (auto value = values.constBegin(); value != values.constEnd() && m_error == 0; ++value) {
    open('e', "sv");
    text(value.key());
    variant(value.value(), depth);
    close();
  }
  close();
  return *this;
}

void CallWriter::list(const QVariantList& values, int depth) {
  open('a', "v");
  for (const QVariant& value : values) {
    if (m_error < 0) {
      break;
    }
    variant(value, depth);
  }
  close();
}

void CallWriter::variant(const QVariant& value, int depth) {
  if (depth >= kMaximumDepth) {
    return note(-E2BIG);
  }
  switch (value.userType()) {
    case QMetaType::Int:
      open('v', "i");
      int32(value.toInt());
      return close();
    case QMetaType::Bool: {
      const int flag = value.toBool() ? 1 : 0;
      open('v', "b");
      basic('b', &flag);
      return close();
    }
    case QMetaType::Double: {
      const double number = value.toDouble();
      open('v', "d");
      basic('d', &number);
      return close();
    }
    case QMetaType::QString:
      open('v', "s");
      text(value.toString());
      return close();
    case QMetaType::QVariantList:
      open('v', "av");
      list(value.toList(), depth + 1);
      return close();
    case QMetaType::QVariantMap:
      open('v', "a{sv}");
      map(value.toMap(), depth + 1);
      return close();
    default:
      note(-EINVAL);
  }
}

CallWriter& CallWriter::basic(char type, const void* value) {
  constexpr std::size_t kOverhead = 8;  // of each value: length, padding and terminator, roughly
  m_bytes += kOverhead;
  if (m_bytes > kMaximumBytes) {
    note(-EMSGSIZE);
  }
  if (m_error == 0) {
    note(sd_bus_message_append_basic(m_message, type, value));
  }
  return *this;
}

void CallWriter::open(char type, const char* contents) {
  if (m_error == 0) {
    note(sd_bus_message_open_container(m_message, type, contents));
  }
}

void CallWriter::close() {
  if (m_error == 0) {
    note(sd_bus_message_close_container(m_message));
  }
}

void CallWriter::note(int result) {
  if (result < 0 && m_error == 0) {
    m_error = result;
  }
}

}  // namespace Tavroline
