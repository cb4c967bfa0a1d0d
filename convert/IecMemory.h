#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "CodesysRuntime.h"
#include "CodesysStringCopy.h"

/**
 * Bounds for reading the PLC application's memory: how many elements an array has and where the text of a
 * field or element ends. The device's text helpers read up to the terminator; a text without one is handed
 * to them as a terminated copy, so that nothing behind it is read. [any-thread]
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

inline bool isTerminated(const RTS_IEC_STRING* text, std::size_t capacity) {
  return std::memchr(text, 0, capacity) != nullptr;
}
inline bool isTerminated(const RTS_IEC_WSTRING* text, std::size_t capacity) {
  return std::find(text, text + capacity, RTS_IEC_WSTRING{0}) != text + capacity;
}

/**
 * The text of a STRING or WSTRING, read up to its terminator or its end, whichever comes first.
 * @param capacity characters of the field or array element
 */
template <typename Character>
QString boundedText(const Character* text, std::size_t capacity) {
  QString result;
  if (isTerminated(text, capacity)) {
    readText(text, result);
  } else {
    std::vector<Character> terminated(text, text + capacity);
    terminated.push_back(0);
    readText(terminated.data(), result);
  }
  return result;
}

/** The same for a field of a structure. */
template <typename Character, std::size_t Capacity>
QString fieldText(const Character (&field)[Capacity]) {
  return boundedText(&field[0], Capacity);
}

}  // namespace Tavroline
