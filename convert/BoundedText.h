#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstring>

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

inline bool isTerminated(const RTS_IEC_STRING* field, std::size_t capacity) {
  return std::memchr(field, 0, capacity) != nullptr;
}
inline bool isTerminated(const RTS_IEC_WSTRING* field, std::size_t capacity) {
  return std::find(field, field + capacity, RTS_IEC_WSTRING{0}) != field + capacity;
}

template <typename Character, std::size_t Capacity>
QString fromField(const Character (&field)[Capacity]) {
  QString text;
  if (isTerminated(&field[0], Capacity)) {
    read(&field[0], text);
  } else {
    Character terminated[Capacity + 1];
    std::copy(field, field + Capacity, terminated);
    terminated[Capacity] = 0;
    read(&terminated[0], text);
  }
  return text;
}

}  // namespace BoundedText
