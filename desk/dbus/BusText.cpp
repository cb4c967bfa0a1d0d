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

}  // namespace Tavroline
