#include "ListJson.h"

#include <QDateTime>

#include "EventlistHandlerDefinitions.h"

void ListJson::appendQuoted(QByteArray& json, const QByteArray& utf8) {
  static constexpr char kHex[] = "0123456789abcdef";
  json += '"';
  int copied = 0;
  for (int i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8.at(i));
    if (byte >= 0x20 && byte != '"' && byte != '\\') {
      continue;
    }
    json.append(utf8.constData() + copied, i - copied);
    copied = i + 1;
    if (byte >= 0x20) {
      json += '\\';
      json += static_cast<char>(byte);
    } else {
      json += "\\u00";
      json += kHex[byte >> 4U];
      json += kHex[byte & 0xFU];
    }
  }
  json.append(utf8.constData() + copied, utf8.size() - copied);
  json += '"';
}

ListJson::ListJson() : m_json("{\"" + EventlistHandlerDefinitions::getListDataName().toUtf8() + "\":[") {}

void ListJson::beginEntry() {
  m_entryStart = m_json.size();
  m_json += m_json.endsWith('[') ? "{" : ",{";
}

void ListJson::addKey(const QString& key) {
  if (!m_json.endsWith('{')) {
    m_json += ',';
  }
  m_json += '"';
  m_json += key.toLatin1();
  m_json += "\":";
}

void ListJson::addNumber(const QString& key, qint64 value) {
  addKey(key);
  m_json += QByteArray::number(value);
}

void ListJson::addFlag(const QString& key, bool value) {
  addKey(key);
  m_json += value ? "true" : "false";
}

void ListJson::addText(const QString& key, const QByteArray& utf8) {
  addKey(key);
  appendQuoted(m_json, utf8);
}

void ListJson::addTime(const QString& key, qint64 time) {
  addText(key, QDateTime::fromMSecsSinceEpoch(time).toString(Qt::ISODateWithMs).toLatin1());
}

void ListJson::addJson(const QString& key, const QByteArray& json) {
  addKey(key);
  m_json += json;
}

void ListJson::endEntry() {
  m_json += '}';
  constexpr int kTail = 64;
  if (m_json.size() > kMaxSize - kTail) {
    m_json.truncate(m_entryStart);
    omitEntry();
  }
}

QByteArray ListJson::finish() {
  m_json += "],\"Omitted\":" + QByteArray::number(m_omitted) + '}';
  return std::move(m_json);
}
