#include "MessageReader.h"

#include <QVarLengthArray>
#include <QtEndian>

#include <algorithm>

#include "BusText.h"
#include "CallError.h"
#include "ListJson.h"

using namespace Tavroline::MessageFormat;

namespace {

// Members of one map whose names are kept without an allocation; few maps have more.
constexpr int kUsualMembers = 16;

/** Thrown where a message is invalid. */
struct Invalid {};

void require(bool condition) {
  if (!condition) {
    throw Invalid();
  }
}

/** Takes values from the front of a message. */
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : m_rest(bytes) {}

  bool isEmpty() const { return m_rest.empty(); }

  std::string_view take(std::size_t size) {
    require(size <= m_rest.size());
    const std::string_view taken = m_rest.substr(0, size);
    m_rest.remove_prefix(size);
    return taken;
  }

  template <class T>
  T number() {
    return qFromLittleEndian<T>(take(sizeof(T)).data());
  }

  std::string_view rawText() { return take(number<quint32>()); }
  QByteArray text() { return MessageReader::fitText(rawText()); }

 private:
  std::string_view m_rest;
};

void appendText(Bytes& bytes, QByteArray& json) {
  ListJson::appendQuoted(json, viewOf(bytes.text()));
}

/** Append the elements of a list as a JSON array; those beyond kMaxItems are read and left out. */
template <class AppendElement>
void appendList(Bytes& bytes, QByteArray& json, const AppendElement& appendElement) {
  json += '[';
  const auto count = bytes.number<quint32>();
  for (quint32 i = 0; i < count; ++i) {
    const int start = json.size();
    if (i > 0) {
      json += ',';
    }
    appendElement();
    if (i >= MessageReader::kMaxItems) {
      json.truncate(start);
    }
    require(json.size() <= MessageReader::kMaxJson);
  }
  json += ']';
}

/** Writes a description as JSON. */
class DescriptionWriter {
 public:
  DescriptionWriter(Bytes& bytes, QByteArray& json) : m_bytes(bytes), m_json(json) {}

  /** A name that occurs twice is refused, because Qt's JSON parser never frees the array or object of the
   * first one. */
  void appendMap(int depth) {
    QVarLengthArray<Range, kUsualMembers> names;
    m_json += '{';
    const auto count = m_bytes.number<quint32>();
    m_members += count;
    require(count <= MessageReader::kMaxItems && m_members <= MessageReader::kMaxMembers);
    for (quint32 i = 0; i < count; ++i) {
      if (i > 0) {
        m_json += ',';
      }
      const int start = m_json.size();
      appendText(m_bytes, m_json);
      names.append({start, m_json.size() - start});
      m_json += ':';
      appendValue(depth);
      require(m_json.size() <= MessageReader::kMaxJson);
    }
    m_json += '}';
    const auto before = [this](const Range& a, const Range& b) { return part(a) < part(b); };
    const auto same = [this](const Range& a, const Range& b) { return part(a) == part(b); };
    std::sort(names.begin(), names.end(), before);
    require(std::adjacent_find(names.begin(), names.end(), same) == names.end());
  }

 private:
  struct Range {
    int start;
    int size;
  };

  std::string_view part(const Range& range) const {
    return {m_json.constData() + range.start, static_cast<std::size_t>(range.size)};
  }

  void appendValue(int depth) {
    const auto tag = static_cast<Tag>(m_bytes.number<quint8>());
    require((tag != Tag::List && tag != Tag::Map) || depth < MessageReader::kMaxNesting);
    switch (tag) {
      case Tag::Int:
        m_json += QByteArray::number(m_bytes.number<qint32>());
        return;
      case Tag::Bool:
        m_json += m_bytes.number<quint8>() != 0 ? "true" : "false";
        return;
      case Tag::Text:
        return appendText(m_bytes, m_json);
      case Tag::List:
        return appendList(m_bytes, m_json, [&] { appendValue(depth + 1); });
      case Tag::Map:
        return appendMap(depth + 1);
      case Tag::Double:
        break;
    }
    throw Invalid();
  }

  Bytes& m_bytes;
  QByteArray& m_json;
  quint64 m_members = 0;
};

QByteArray readIdentifier(Bytes& bytes) {
  QByteArray text = bytes.text();
  require(text.size() <= MessageReader::kMaxIdentifier ||
          QString::fromUtf8(text).size() <= MessageReader::kMaxIdentifier);
  return text;
}

/** A time outside of the years 1970 to 9998 is refused: its local time must have four digits for the year. */
qint64 readTime(Bytes& bytes) {
  constexpr qint64 kYear9999 = 253370764800000;
  const auto time = bytes.number<qint64>();
  require(time >= 0 && time < kYear9999);
  return time;
}

void readEntry(Bytes& bytes, StoredEntry& entry) {
  entry.alarmId = readIdentifier(bytes);
  entry.state = bytes.number<qint32>();
  entry.eventType = bytes.number<qint32>();
  entry.time = readTime(bytes);
  entry.iconType = bytes.text();
  entry.moduleName = bytes.text();
  entry.user = bytes.text();
  entry.objectName = bytes.text();
  appendList(bytes, entry.keywords, [&] { appendText(bytes, entry.keywords); });
  DescriptionWriter(bytes, entry.description).appendMap(0);
}

void readMessage(Bytes bytes, MessageReader::Message& message) {
  message.kind = static_cast<Kind>(bytes.number<quint8>());
  switch (message.kind) {
    case Kind::Entry:
    case Kind::EntryByHand:
      readEntry(bytes, message.entry);
      break;
    case Kind::DeleteEvents:
      message.entry.user = bytes.isEmpty() ? QByteArray() : bytes.text();
      break;
    case Kind::AcknowledgeAlarms:
      message.entry.user = bytes.text();
      for (auto left = bytes.number<quint32>(); left > 0; --left) {
        const QByteArray id = bytes.text();
        if (message.alarmIds.size() < MessageReader::kMaxIds) {
          message.alarmIds.append(id);
        }
      }
      break;
    case Kind::AcknowledgeDetector:
      message.entry.user = bytes.text();
      break;
    default:
      throw Invalid();
  }
  require(bytes.isEmpty());
  message.valid = true;
}

}  // namespace

MessageReader::Batch MessageReader::read(std::string_view bytes) {
  Batch batch;
  try {
    for (Bytes rest(bytes); !rest.isEmpty();) {
      const Bytes message(rest.take(rest.number<quint32>()));
      batch.emplace_back();
      require(batch.size() <= kMaxBatchMessages);
      require(bytes.size() <= (batch.size() == 1 ? kMaxMessageBytes : kMaxBatchBytes));
      try {
        readMessage(message, batch.back());
      } catch (const Invalid&) {
        batch.back() = {};
      }
    }
  } catch (const Invalid&) {
    throw CallError("the batch is malformed or too large");
  }
  return batch;
}

QByteArray MessageReader::fitText(std::string_view utf8) {
  const bool isPlain = utf8.size() <= kMaxText && std::all_of(utf8.begin(), utf8.end(), [](char c) {
                         return c != 0 && (c & 0x80) == 0;
                       });
  if (isPlain) {
    return QByteArray::fromRawData(utf8.data(), static_cast<int>(utf8.size()));
  }
  QString text = Tavroline::busText(QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size())));
  if (text.size() > kMaxText) {
    const bool splits = text.at(kMaxText - 1).isHighSurrogate();
    text.truncate(kMaxText - (splits ? 1 : 0));
  }
  return text.toUtf8();
}
