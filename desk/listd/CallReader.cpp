#include "CallReader.h"

#include <QVarLengthArray>

#include <algorithm>
#include <limits>
#include <string_view>

#include "BusText.h"
#include "CallError.h"
#include "ListJson.h"
#include "ListServiceNames.h"

namespace {

// Members of one map of a description whose names are kept without an allocation; few maps have more.
constexpr int kUsualMembers = 16;

void readValue(sd_bus_message* call, QByteArray& json, int depth);

/** @return whether there was another element to read */
bool check(int result) {
  if (result < 0) {
    throw CallError("the message is malformed");
  }
  return result > 0;
}

template <class T>
T readBasic(sd_bus_message* call, char type) {
  T value{};
  if (!check(sd_bus_message_read_basic(call, type, &value))) {
    throw CallError("an argument is missing");
  }
  return value;
}

/** The text with characters that the bus accepts, cut to kMaxText without splitting a surrogate pair. */
QString truncated(const char* utf8) {
  QString text = Tavroline::busText(QString::fromUtf8(utf8));
  if (text.size() > CallReader::kMaxText) {
    const bool splits = text.at(CallReader::kMaxText - 1).isHighSurrogate();
    text.truncate(CallReader::kMaxText - (splits ? 1 : 0));
  }
  return text;
}

QString readText(sd_bus_message* call, char type) {
  return truncated(readBasic<const char*>(call, type));
}

/** Append a text as a JSON string. A short ASCII text, the usual case, is appended without a conversion. */
void readQuoted(sd_bus_message* call, QByteArray& json) {
  const std::string_view text = readBasic<const char*>(call, SD_BUS_TYPE_STRING);
  const bool fits = text.size() <= CallReader::kMaxText &&
                    std::none_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
  ListJson::appendQuoted(json, fits ? QByteArray::fromRawData(text.data(), static_cast<int>(text.size()))
                                    : truncated(text.data()).toUtf8());
}

void checkSize(const QByteArray& json) {
  if (json.size() > CallReader::kMaxJson) {
    throw CallError("the keywords or the description are too long");
  }
}

/** Enter the next container and call `readElement` for each element. */
template <class ReadElement>
void readContainer(sd_bus_message* call, char type, const char* contents, const ReadElement& readElement) {
  check(sd_bus_message_enter_container(call, type, contents));
  while (sd_bus_message_at_end(call, 0) == 0) {
    readElement();
  }
  check(sd_bus_message_exit_container(call));
}

/** Append the elements of the next container: those of a map as a JSON object, the first kMaxItems of a list
 * as a JSON array. */
template <class ReadElement>
void readElements(sd_bus_message* call, const char* contents, QByteArray& json,
                  const ReadElement& readElement) {
  const bool isList = *contents != '{';
  json += isList ? '[' : '{';
  int count = 0;
  readContainer(call, SD_BUS_TYPE_ARRAY, contents, [&] {
    if (isList && count == CallReader::kMaxItems) {
      check(sd_bus_message_skip(call, contents));
      return;
    }
    if (count++ > 0) {
      json += ',';
    }
    readElement();
    checkSize(json);
  });
  json += isList ? ']' : '}';
}

struct Range {
  int start;
  int size;
};

std::string_view part(const QByteArray& json, const Range& range) {
  return std::string_view(json.constData(), static_cast<std::size_t>(json.size()))
      .substr(static_cast<std::size_t>(range.start), static_cast<std::size_t>(range.size));
}

/** Append a map as a JSON object. A name that occurs twice is refused, because Qt's JSON parser never frees
 * the array or object of the first one. */
void readMap(sd_bus_message* call, QByteArray& json, int depth) {
  QVarLengthArray<Range, kUsualMembers> names;
  readElements(call, "{sv}", json, [&] {
    readContainer(call, SD_BUS_TYPE_DICT_ENTRY, "sv", [&] {
      const int start = json.size();
      readQuoted(call, json);
      const Range name{start, json.size() - start};
      const bool known = std::any_of(names.begin(), names.end(), [&](const Range& other) {
        return part(json, other) == part(json, name);
      });
      if (known) {
        throw CallError("the description names a member twice");
      }
      if (names.size() == CallReader::kMaxItems) {
        throw CallError("the description has too many members");
      }
      names.append(name);
      json += ':';
      readValue(call, json, depth);
    });
  });
}

void readContainerValue(sd_bus_message* call, char type, const QByteArray& contents, QByteArray& json,
                        int depth) {
  if (depth >= CallReader::kMaxNesting) {
    throw CallError("the description is nested too deeply");
  }
  if (type != SD_BUS_TYPE_ARRAY) {
    throw CallError("the description holds a value of a type that it must not hold");
  }
  if (contents == "{sv}") {
    return readMap(call, json, depth + 1);
  }
  readElements(call, contents.constData(), json, [&] { readValue(call, json, depth + 1); });
}

void readValue(sd_bus_message* call, QByteArray& json, int depth) {
  char type = 0;
  const char* contents = nullptr;
  check(sd_bus_message_peek_type(call, &type, &contents));
  switch (type) {
    case SD_BUS_TYPE_STRING:
      return readQuoted(call, json);
    case SD_BUS_TYPE_INT16:
      json += QByteArray::number(readBasic<qint16>(call, type));
      return;
    case SD_BUS_TYPE_INT32:
      json += QByteArray::number(readBasic<qint32>(call, type));
      return;
    case SD_BUS_TYPE_BOOLEAN:
      json += readBasic<int>(call, type) != 0 ? "true" : "false";
      return;
    case SD_BUS_TYPE_VARIANT:
      // sd-bus bounds the depth of variants within variants.
      check(sd_bus_message_enter_container(call, type, contents));
      readValue(call, json, depth);
      check(sd_bus_message_exit_container(call));
      return;
    default:
      readContainerValue(call, type, contents, json, depth);
  }
}

}  // namespace

QString CallReader::text() {
  return readText(m_call, SD_BUS_TYPE_STRING);
}

QString CallReader::identifier() {
  QString text = readText(m_call, SD_BUS_TYPE_STRING);
  if (text.size() > kMaxIdentifier) {
    throw CallError("an identifier is longer than 255 characters");
  }
  return text;
}

QString CallReader::session() {
  QString text = identifier();
  if (text.isEmpty()) {
    throw CallError("a message needs a session");
  }
  return text;
}

Sender CallReader::sender() {
  const QString session = this->session();
  const auto number = readBasic<quint64>(m_call, SD_BUS_TYPE_UINT64);
  if (number == 0 || number > static_cast<quint64>(std::numeric_limits<qint64>::max())) {
    throw CallError("a sequence number lies between 1 and 2^63-1");
  }
  return {session, static_cast<qint64>(number), sd_bus_message_get_sender(m_call)};
}

int CallReader::number() {
  return readBasic<qint32>(m_call, SD_BUS_TYPE_INT32);
}

quint32 CallReader::count() {
  return readBasic<quint32>(m_call, SD_BUS_TYPE_UINT32);
}

qint64 CallReader::time() {
  constexpr qint64 kYear9999 = 253370764800000;
  const auto time = readBasic<qint64>(m_call, SD_BUS_TYPE_INT64);
  if (time < 0 || time >= kYear9999) {
    throw CallError("a time lies between the years 1970 and 9998");
  }
  return time;
}

QStringList CallReader::texts(int maxItems) {
  QStringList texts;
  readContainer(m_call, SD_BUS_TYPE_ARRAY, "s", [&] {
    const QString text = readText(m_call, SD_BUS_TYPE_STRING);
    if (texts.size() < maxItems) {
      texts.append(text);
    }
  });
  return texts;
}

QByteArray CallReader::keywords() {
  QByteArray json;
  readElements(m_call, "s", json, [&] { readQuoted(m_call, json); });
  return json;
}

QByteArray CallReader::description() {
  QByteArray json;
  readMap(m_call, json, 0);
  return json;
}

ClientCounters::Figures CallReader::figures() {
  using Tavroline::ListServiceNames::kBookFigures;
  ClientCounters::Figures figures{};
  readContainer(m_call, SD_BUS_TYPE_ARRAY, "{st}", [&] {
    readContainer(m_call, SD_BUS_TYPE_DICT_ENTRY, "st", [&] {
      const std::string_view name = readBasic<const char*>(m_call, SD_BUS_TYPE_STRING);
      const auto value = readBasic<quint64>(m_call, SD_BUS_TYPE_UINT64);
      const auto* figure = std::find(kBookFigures.begin(), kBookFigures.end(), name);
      if (figure != kBookFigures.end()) {
        figures.at(static_cast<std::size_t>(figure - kBookFigures.begin())) = value;
      }
    });
  });
  return figures;
}
