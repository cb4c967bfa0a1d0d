#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <QString>

#include "GuardedMemory.h"

/** What the fuzz targets share. */
namespace fuzz {

/** Stays in release builds, and ends the process: the fuzzer then reports the input. */
inline void check(bool condition, const char* what) {
  if (!condition) {
    qFatal("check failed: %s", what);
  }
}

/** What a target does with one input. */
void run(FuzzedDataProvider& input);

}  // namespace fuzz

extern "C" [[gnu::used]] inline int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  fuzz::run(input);
  return 0;
}
