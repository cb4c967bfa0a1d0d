#include "ListJson.h"

#include <QDateTime>

#include "DescriptionText.h"
#include "EventlistHandlerDefinitions.h"
#include "JsonReader.h"
#include "MessageReader.h"

void ListJson::appendQuoted(QByteArray& json, std::string_view utf8) {
  static constexpr char kHex[] = "0123456789abcdef";
  json += '"';
  std::size_t copied = 0;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    if (byte >= 0x20 && byte != '"' && byte != '\\') {
      continue;
    }
    json.append(utf8.data() + copied, static_cast<int>(i - copied));
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
  json.append(utf8.data() + copied, static_cast<int>(utf8.size() - copied));
  json += '"';
}

ListJson::Column::Column(const QString& name, Form shown) : key('"' + name.toUtf8() + "\":"), form(shown) {}

QByteArray ListJson::write(Statement& rows, qint64 count, qint64 omitted) {
  constexpr int kTail = 64;
  const QByteArray head = "{\"" + EventlistHandlerDefinitions::getListDataName().toUtf8() + "\":[";
  m_json = head;
  for (qint64 read = 0; rows.next(); ++read) {
    const int start = m_json.size();
    m_json += start == head.size() ? "" : ",";
    if (!addEntry(rows)) {
      ++m_unreadable;
      m_json.truncate(start);
    } else if (m_json.size() > kMaxSize - kTail) {
      m_json.truncate(start);
      omitted += count - read;
      rows.reset();
      break;
    }
    m_lastNumber = rows.number(0);
  }
  return m_json + "],\"Omitted\":" + QByteArray::number(omitted) + '}';
}

/** @return false if the row cannot be read */
bool ListJson::addEntry(const Statement& row) {
  bool readable = true;
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    m_json += i == 0 ? '{' : ',';
    m_json += m_columns[i].key;
    readable = addValue(row, static_cast<int>(i), m_columns[i].form) && readable;
  }
  m_json += '}';
  return readable;
}

bool ListJson::addValue(const Statement& row, int column, Form form) {
  switch (form) {
    case Form::Number:
      m_json += QByteArray::number(row.number(column));
      return true;
    case Form::Flag:
      m_json += row.number(column) != 0 ? "true" : "false";
      return true;
    case Form::Text:
      appendQuoted(m_json, row.view(column));
      return true;
    case Form::Time:
      addTime(row.number(column));
      return true;
    case Form::Keywords:
      return addKeywords(row.view(column));
    case Form::Description:
      break;
  }
  const bool readable = DescriptionText::make(row.view(column), m_language, m_text);
  appendQuoted(m_json, m_text);
  return readable;
}

// A zone's offset changes at quarters of an hour; looking it up is most of the work for one time.
void ListJson::addTime(qint64 time) {
  constexpr qint64 kQuarter = 900000;
  constexpr qint64 kDay = 86400000;
  if (time / kQuarter != m_quarter) {
    m_quarter = time / kQuarter;
    m_offset = qint64{1000} * QDateTime::fromMSecsSinceEpoch(time).offsetFromUtc();
  }
  const qint64 local = time + m_offset;
  const qint64 day = (local >= 0 ? local : local - kDay + 1) / kDay;
  if (day != m_day) {
    m_day = day;
    m_date = QDate(1970, 1, 1).addDays(day).toString(Qt::ISODate).toLatin1();
  }
  const qint64 ofDay = local - day * kDay;
  m_json += '"' + m_date;
  addDigits('T', ofDay / 3600000, 2);
  addDigits(':', ofDay / 60000 % 60, 2);
  addDigits(':', ofDay / 1000 % 60, 2);
  addDigits('.', ofDay % 1000, 3);
  m_json += '"';
}

/** Append a separator and a number of two or three digits. */
void ListJson::addDigits(char separator, qint64 number, int digits) {
  const char text[] = {static_cast<char>('0' + number / 100), static_cast<char>('0' + number / 10 % 10),
                       static_cast<char>('0' + number % 10)};
  m_json += separator;
  m_json.append(text + 3 - digits, digits);
}

bool ListJson::addKeywords(std::string_view keywords) {
  JsonReader reader(keywords);
  m_json += '[';
  bool first = true;
  reader.array([&] {
    m_json += std::exchange(first, false) ? "" : ",";
    reader.string(m_text);
    appendQuoted(m_json, m_text);
  });
  m_json += ']';
  return !keywords.empty() && keywords.front() == '[' && reader.isComplete();
}
