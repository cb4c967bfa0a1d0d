#include "BusText.h"

namespace Tavroline {

namespace {

/** Whether a unit is accepted without further checks; nearly all are. */
bool isUsual(QChar unit) {
  return !unit.isNull() && unit.unicode() < 0xD800;
}

/** Number of code units of the character at `position`; negative if it must be replaced. */
int acceptedUnits(const QChar* units, int position, int size) {
  const QChar unit = units[position];
  if (!unit.isSurrogate()) {
    return unit.isNull() || unit.isNonCharacter() ? -1 : 1;
  }
  if (!unit.isHighSurrogate() || position + 1 >= size || !units[position + 1].isLowSurrogate()) {
    return -1;
  }
  return QChar::isNonCharacter(QChar::surrogateToUcs4(unit, units[position + 1])) ? -2 : 2;
}

/** Write a character of two or more bytes. @return the end of the bytes */
char* writeUtf8(uint character, char* target) {
  constexpr uint kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
  const int bytes = character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
  for (int i = bytes - 1; i > 0; --i, character >>= 6U) {
    target[i] = static_cast<char>(0x80U | (character & 0x3FU));
  }
  *target = static_cast<char>(kLead[bytes] | character);
  return target + bytes;
}

}  // namespace

QString busText(const QString& text) {
  const QChar* units = text.constData();
  const int size = text.size();
  int clean = 0;
  while (clean < size) {
    const int step = isUsual(units[clean]) ? 1 : acceptedUnits(units, clean, size);
    if (step < 0) {
      break;
    }
    clean += step;
  }
  if (clean >= size) {
    return text;
  }

  QString result = text.left(clean);
  result.reserve(size);
  for (int i = clean; i < size;) {
    const int step = acceptedUnits(units, i, size);
    if (step > 0) {
      result.append(units + i, step);
    } else {
      result.append(QChar(QChar::ReplacementCharacter));
    }
    i += qAbs(step);
  }
  return result;
}

int writeBusText(const QString& text, char* target) {
  const QChar* units = text.constData();
  char* end = target;
  for (int i = 0; i < text.size();) {
    const ushort unit = units[i].unicode();
    if (unit - 1U < 0x7FU) {
      *end++ = static_cast<char>(unit);
      ++i;
      continue;
    }
    const int step = acceptedUnits(units, i, text.size());
    end = writeUtf8(step == 2   ? QChar::surrogateToUcs4(units[i], units[i + 1])
                    : step == 1 ? unit
                                : uint{QChar::ReplacementCharacter},
                    end);
    i += qAbs(step);
  }
  return static_cast<int>(end - target);
}

}  // namespace Tavroline
