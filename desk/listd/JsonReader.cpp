#include "JsonReader.h"

#include <QString>

#include <algorithm>
#include <cstdlib>

bool JsonReader::take(char c) {
  m_valid = m_valid && startsWith(c);
  if (m_valid) {
    m_rest.remove_prefix(1);
  }
  return m_valid;
}

void JsonReader::string(std::string& text) {
  text.clear();
  if (!startsWith('"')) {
    return skip();
  }
  take('"');
  while (m_valid) {
    std::size_t end = 0;
    while (end < m_rest.size() && m_rest[end] != '"' && m_rest[end] != '\\') {
      ++end;
    }
    text.append(m_rest.data(), end);
    m_rest.remove_prefix(end);
    m_valid = !m_rest.empty();
    if (!startsWith('\\')) {
      take('"');
      return;
    }
    escape(text);
  }
}

void JsonReader::escape(std::string& text) {
  static constexpr std::string_view kNames = "\"\\/bfnrt";
  static constexpr std::string_view kCharacters = "\"\\/\b\f\n\r\t";
  const std::size_t name = m_rest.size() < 2 ? std::string_view::npos : kNames.find(m_rest[1]);
  if (name != std::string_view::npos) {
    text += kCharacters[name];
    m_rest.remove_prefix(2);
    return;
  }
  m_valid = m_rest.size() >= 6 && m_rest[1] == 'u';
  if (m_valid) {
    const std::string digits(m_rest.substr(2, 4));
    text += QString(QChar(static_cast<ushort>(std::strtoul(digits.c_str(), nullptr, 16)))).toStdString();
    m_rest.remove_prefix(6);
  }
}

int JsonReader::integer() {
  const std::string_view before = m_rest;
  skip();
  return std::atoi(std::string(before.substr(0, before.size() - m_rest.size())).c_str());
}

void JsonReader::skip() {
  std::string text;
  if (startsWith('"')) {
    return string(text);
  }
  if (startsWith('{')) {
    return object([this](const std::string&) { skip(); });
  }
  if (startsWith('[')) {
    return array([this] { skip(); });
  }
  const std::size_t end = m_rest.find_first_of(",]}");
  m_valid = m_valid && end != 0 && !m_rest.empty();
  m_rest.remove_prefix(std::min(end, m_rest.size()));
}
