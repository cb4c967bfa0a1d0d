#include "InstanceNameFormat.h"

#include <QByteArray>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Tavroline {

namespace {

constexpr int kLargestField = 255;

bool isOneOf(char character, const char* set) {
  return character != '\0' && std::strchr(set, character) != nullptr;
}

/** Reads decimal digits, clamped; leaves `position` behind them. */
int readNumber(const char*& position) {
  int number = 0;
  for (; isOneOf(*position, "0123456789"); ++position) {
    number = std::min(number * 10 + (*position - '0'), kLargestField);
  }
  return number;
}

/**
 * Renders the directive that starts behind a percent sign.
 * @return the position behind the directive; null if it is not an integer directive
 */
const char* renderDirective(const char* position, int number, QByteArray& output) {
  QByteArray directive("%");
  for (; isOneOf(*position, "-+ #0"); ++position) {
    if (!directive.contains(*position)) {
      directive.append(*position);
    }
  }
  if (isOneOf(*position, "123456789")) {
    directive.append(QByteArray::number(readNumber(position)));
  }
  if (*position == '.') {
    directive.append('.').append(QByteArray::number(readNumber(++position)));
  }
  while (isOneOf(*position, "hlLqjzt")) {
    ++position;
  }
  if (!isOneOf(*position, "diuoxX")) {
    return nullptr;
  }
  directive.append(*position);
  char rendered[2 * kLargestField];
  const int length = std::snprintf(rendered, sizeof rendered, directive.constData(), number);
  output.append(rendered, length);
  return position + 1;
}

}  // namespace

QString formatInstanceName(const QString& name, int number) {
  if (!name.contains(QLatin1Char('%'))) {
    return name;
  }
  const QByteArray format = name.toLatin1();
  QByteArray output;
  bool rendered = false;
  const char* position = format.constData();
  while (*position != '\0') {
    const char character = *position++;
    if (character == '%' && *position == '%') {
      ++position;
    } else if (character == '%' && !rendered) {
      if (const char* const next = renderDirective(position, number, output)) {
        rendered = true;
        position = next;
        continue;
      }
    }
    output.append(character);
  }
  return QString::fromLatin1(output);
}

}  // namespace Tavroline
