#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "CodesysRuntime.h"
#include "CodesysStringCopy.h"

/**
 * Bounds for reading the PLC application's memory: how many elements an array has and where the text of a
 * fixed-size field ends. The device's text helpers read up to the terminator; a field without one is handed
 * to them as a terminated copy, so that nothing behind the field is read. [any-thread]
 */
namespace Tavroline {

/**
 * Number of elements of an IEC array of variable length. The bounds come unchecked from the PLC application,
 * so the difference is computed in 64 bits; an array with a difference beyond a DINT counts as empty.
 */
inline std::int64_t elementCount(const __ARRAY__DIM__INFO& dimension) {
  const std::int64_t difference = std::int64_t{dimension.upper} - std::int64_t{dimension.lower};
  return difference < 0 || difference > INT32_MAX ? 0 : difference + 1;
}

inline void readText(const RTS_IEC_STRING* text, QString& target) {
  copyCStringDataToQString(text, -1, target);
}
inline void readText(const RTS_IEC_WSTRING* text, QString& target) {
  copyWStringDataToQString(text, -1, target);
}

inline bool isTerminated(const RTS_IEC_STRING* field, std::size_t capacity) {
  return std::memchr(field, 0, capacity) != nullptr;
}
inline bool isTerminated(const RTS_IEC_WSTRING* field, std::size_t capacity) {
  return std::find(field, field + capacity, RTS_IEC_WSTRING{0}) != field + capacity;
}

/** The text of a STRING or WSTRING field, read up to its terminator or its end, whichever comes first. */
template <typename Character, std::size_t Capacity>
QString fieldText(const Character (&field)[Capacity]) {
  QString text;
  if (isTerminated(&field[0], Capacity)) {
    readText(&field[0], text);
  } else {
    Character terminated[Capacity + 1];
    std::copy(field, field + Capacity, terminated);
    terminated[Capacity] = 0;
    readText(&terminated[0], text);
  }
  return text;
}

}  // namespace Tavroline
