#pragma once

#include <cstdint>

#include "CodesysRuntime.h"

/**
 * How many elements an IEC array of variable length has. The bounds are no indices and come unchecked from
 * the PLC application, so the difference is taken in 64 bits; one beyond a DINT counts as empty. [any-thread]
 */
inline std::int64_t elementCount(const __ARRAY__DIM__INFO& dimension) {
  const std::int64_t difference = std::int64_t{dimension.upper} - std::int64_t{dimension.lower};
  return difference < 0 || difference > INT32_MAX ? 0 : difference + 1;
}
