#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>

#include "CodesysRuntime.h"
#include "CodesysStringCopy.h"

/**
 * Text fields inside IEC structures. The device's helpers read up to the terminator; a field without one is
 * handed to them as a terminated copy, so that nothing behind the field is read. [any-thread]
 */
namespace BoundedText {

inline void read(const RTS_IEC_STRING* text, QString& target) {
  copyCStringDataToQString(text, -1, target);
}
inline void read(const RTS_IEC_WSTRING* text, QString& target) {
  copyWStringDataToQString(text, -1, target);
}

template <typename Character, std::size_t Capacity>
QString fromField(const Character (&field)[Capacity]) {
  QString text;
  const Character* const end = field + Capacity;
  if (std::find(field, end, Character{0}) != end) {
    read(&field[0], text);
  } else {
    Character terminated[Capacity + 1];
    std::copy(field, end, terminated);
    terminated[Capacity] = 0;
    read(&terminated[0], text);
  }
  return text;
}

}  // namespace BoundedText
