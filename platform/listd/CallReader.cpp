#include "CallReader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>
#include <string_view>

#include "BusText.h"
#include "CallError.h"
#include "ListServiceNames.h"

namespace {

QJsonValue readValue(sd_bus_message* call, int depth);

/** @return whether there was another element to read */
bool check(int result) {
  if (result < 0) throw CallError("the message is malformed");
  return result > 0;
}

template <class T>
T readBasic(sd_bus_message* call, char type) {
  T value{};
  if (!check(sd_bus_message_read_basic(call, type, &value))) throw CallError("an argument is missing");
  return value;
}

QString readText(sd_bus_message* call, char type) {
  QString text = busText(QString::fromUtf8(readBasic<const char*>(call, type)));
  if (text.size() > CallReader::kMaxText) {
    const bool splits = text.at(CallReader::kMaxText - 1).isHighSurrogate();
    text.truncate(CallReader::kMaxText - (splits ? 1 : 0));
  }
  return text;
}

/** Enter the container that comes next and call `readElement` until its end. */
template <class ReadElement>
void readContainer(sd_bus_message* call, char type, const char* contents, const ReadElement& readElement) {
  check(sd_bus_message_enter_container(call, type, contents));
  while (sd_bus_message_at_end(call, 0) == 0)
    readElement();
  check(sd_bus_message_exit_container(call));
}

QJsonObject readMap(sd_bus_message* call, int depth) {
  QJsonObject map;
  readContainer(call, SD_BUS_TYPE_ARRAY, "{sv}", [&] {
    readContainer(call, SD_BUS_TYPE_DICT_ENTRY, "sv", [&] {
      const QString key = readText(call, SD_BUS_TYPE_STRING);
      map.insert(key, readValue(call, depth));
    });
  });
  return map;
}

QJsonArray readList(sd_bus_message* call, const char* contents, int depth) {
  QJsonArray list;
  readContainer(call, SD_BUS_TYPE_ARRAY, contents, [&] {
    const QJsonValue value = readValue(call, depth);
    if (list.size() < CallReader::kMaxItems) list.append(value);
  });
  return list;
}

QJsonValue readContainerValue(sd_bus_message* call, char type, const QByteArray& contents, int depth) {
  if (depth >= CallReader::kMaxNesting) throw CallError("the description is nested too deeply");
  if (type == SD_BUS_TYPE_ARRAY && contents == "{sv}") return readMap(call, depth + 1);
  if (type == SD_BUS_TYPE_ARRAY) return readList(call, contents.constData(), depth + 1);
  throw CallError("the description holds a value of a type that has no place in it");
}

QJsonValue readValue(sd_bus_message* call, int depth) {
  char type = 0;
  const char* contents = nullptr;
  check(sd_bus_message_peek_type(call, &type, &contents));
  switch (type) {
    case SD_BUS_TYPE_STRING:
      return readText(call, type);
    case SD_BUS_TYPE_INT16:
      return readBasic<qint16>(call, type);
    case SD_BUS_TYPE_INT32:
      return readBasic<qint32>(call, type);
    case SD_BUS_TYPE_BOOLEAN:
      return readBasic<int>(call, type) != 0;
    case SD_BUS_TYPE_VARIANT: {
      // sd-bus itself bounds a chain of variants in variants.
      check(sd_bus_message_enter_container(call, type, contents));
      QJsonValue value = readValue(call, depth);
      check(sd_bus_message_exit_container(call));
      return value;
    }
    default:
      return readContainerValue(call, type, contents, depth);
  }
}

QByteArray bounded(const QJsonDocument& document) {
  QByteArray json = document.toJson(QJsonDocument::Compact);
  if (json.size() > CallReader::kMaxJson) throw CallError("the keywords or the description are too long");
  return json;
}

}  // namespace

QString CallReader::text() {
  return readText(m_call, SD_BUS_TYPE_STRING);
}

QString CallReader::identifier() {
  QString text = readText(m_call, SD_BUS_TYPE_STRING);
  if (text.size() > kMaxIdentifier) throw CallError("an identifier is longer than 255 characters");
  return text;
}

QString CallReader::session() {
  QString text = identifier();
  if (text.isEmpty()) throw CallError("a message needs a session");
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
  if (time < 0 || time >= kYear9999) throw CallError("a time lies between the years 1970 and 9998");
  return time;
}

QStringList CallReader::texts(int maxItems) {
  QStringList texts;
  readContainer(m_call, SD_BUS_TYPE_ARRAY, "s", [&] {
    const QString text = readText(m_call, SD_BUS_TYPE_STRING);
    if (texts.size() < maxItems) texts.append(text);
  });
  return texts;
}

QByteArray CallReader::keywords() {
  return bounded(QJsonDocument(QJsonArray::fromStringList(texts(kMaxItems))));
}

QByteArray CallReader::description() {
  return bounded(QJsonDocument(readMap(m_call, 0)));
}

ClientBooks::Figures CallReader::figures() {
  using ListServiceNames::kBookFigures;
  ClientBooks::Figures figures{};
  readContainer(m_call, SD_BUS_TYPE_ARRAY, "{st}", [&] {
    readContainer(m_call, SD_BUS_TYPE_DICT_ENTRY, "st", [&] {
      const std::string_view name = readBasic<const char*>(m_call, SD_BUS_TYPE_STRING);
      const auto value = readBasic<quint64>(m_call, SD_BUS_TYPE_UINT64);
      const auto* figure = std::find(kBookFigures.begin(), kBookFigures.end(), name);
      if (figure != kBookFigures.end())
        figures.at(static_cast<std::size_t>(figure - kBookFigures.begin())) = value;
    });
  });
  return figures;
}
