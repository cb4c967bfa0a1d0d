#include "MessageWriter.h"

#include <QtEndian>
#include <cstring>

#include "BusText.h"

namespace Tavroline {

using MessageFormat::Kind;
using MessageFormat::Tag;

void MessageWriter::entry(const QString& alarmId, int state, int eventType, qint64 time,
                          const QString& iconType, const QString& moduleName, const QString& user,
                          const QString& objectName, const QStringList& keywords,
                          const QVariantMap& description, Kind kind) {
  begin(kind);
  text(alarmId);
  number(static_cast<qint32>(state));
  number(static_cast<qint32>(eventType));
  number(time);
  for (const QString* field : {&iconType, &moduleName, &user, &objectName}) {
    text(*field);
  }
  texts(keywords);
  map(description, 0);
  finish();
}

void MessageWriter::deleteEvents(const QString& user) {
  begin(Kind::DeleteEvents);
  if (!user.isEmpty()) {
    text(user);
  }
  finish();
}

void MessageWriter::acknowledgeAlarms(const QString& user, const QStringList& alarmIds) {
  begin(Kind::AcknowledgeAlarms);
  text(user);
  texts(alarmIds);
  finish();
}

void MessageWriter::acknowledgeDetector(const QString& user) {
  begin(Kind::AcknowledgeDetector);
  text(user);
  finish();
}

std::string_view MessageWriter::bytes() const {
  return {m_bytes.constData(), static_cast<std::size_t>(m_bytes.size())};
}

void MessageWriter::begin(Kind kind) {
  count(0);  // the size; finish() sets it
  number(static_cast<quint8>(kind));
}

void MessageWriter::finish() {
  qToLittleEndian(static_cast<quint32>(m_bytes.size()) - quint32{sizeof(quint32)}, m_bytes.data());
}

template <typename Number>
void MessageWriter::number(Number value) {
  if (mayAppend(sizeof value)) {
    qToLittleEndian(value, append(sizeof value));
  }
}

void MessageWriter::text(const QString& value) {
  constexpr int kSizeField = sizeof(quint32);
  if (!mayAppend(kSizeField + value.size())) {  // the conversion gives at least a byte for each unit
    return;
  }
  const int start = m_bytes.size();
  char* target = append(kSizeField + kBusTextBytesPerUnit * value.size());
  const int size = writeBusText(value, target + kSizeField);
  qToLittleEndian(static_cast<quint32>(size), target);
  m_bytes.resize(start + kSizeField + size);
  mayAppend(0);
}

void MessageWriter::texts(const QStringList& values) {
  count(values.size());
  for (const QString& value : values) {
    text(value);
  }
}

void MessageWriter::map(const QVariantMap& values, int depth) {
  count(values.size());
  for (auto member = values.constBegin(); member != values.constEnd() && m_sendable; ++member) {
    text(member.key());
    value(member.value(), depth);
  }
}

void MessageWriter::list(const QVariantList& values, int depth) {
  count(values.size());
  for (auto element = values.constBegin(); element != values.constEnd() && m_sendable; ++element) {
    value(*element, depth);
  }
}

void MessageWriter::value(const QVariant& value, int depth) {
  m_sendable = m_sendable && depth < kMaxNesting;
  if (!m_sendable) {
    return;
  }
  switch (value.userType()) {
    case QMetaType::Int:
      tag(Tag::Int);
      return number(static_cast<qint32>(value.toInt()));
    case QMetaType::Bool:
      tag(Tag::Bool);
      return number(static_cast<quint8>(value.toBool() ? 1 : 0));
    case QMetaType::Double: {
      const double real = value.toDouble();
      quint64 bits = 0;
      std::memcpy(&bits, &real, sizeof bits);
      tag(Tag::Double);
      return number(bits);
    }
    case QMetaType::QString:
      tag(Tag::Text);
      return text(value.toString());
    case QMetaType::QVariantList:
      tag(Tag::List);
      return list(value.toList(), depth + 1);
    case QMetaType::QVariantMap:
      tag(Tag::Map);
      return map(value.toMap(), depth + 1);
    default:
      m_sendable = false;
  }
}

bool MessageWriter::mayAppend(int bytes) {
  const auto size = static_cast<std::size_t>(m_bytes.size()) + static_cast<std::size_t>(bytes);
  m_sendable = m_sendable && size <= MessageFormat::kMaxMessageBytes;
  return m_sendable;
}

char* MessageWriter::append(int bytes) {
  const int start = m_bytes.size();
  const int size = start + bytes;
  if (size > m_bytes.capacity()) {
    m_bytes.reserve(qMax(size, 2 * m_bytes.capacity()));
  }
  m_bytes.resize(size);
  return m_bytes.data() + start;
}

}  // namespace Tavroline
