#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>

#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/** What the fuzz targets share: memory that ends where it says, and the checks that a finding is made of. */
namespace fuzz {

constexpr unsigned char kPattern = 0xA5;  ///< what memory holds before anybody writes to it

/** Stays in release builds, and ends the process: the fuzzer then reports the input. */
inline void check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "check failed: %s\n", what);
  std::abort();
}

/** Memory in front of pages that must not be touched; what is handed out ends there. */
class GuardedMemory {
 public:
  template <typename Element>
  Element* last(std::size_t count) {
    void* const start = m_start + kCapacity - count * sizeof(Element);
    return static_cast<Element*>(std::memset(start, kPattern, count * sizeof(Element)));
  }

 private:
  static char* map() {
    void* const start = mmap(nullptr, 2 * kCapacity, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    check(mprotect(start, kCapacity, PROT_READ | PROT_WRITE) == 0, "no memory for the target itself");
    return static_cast<char*>(start);
  }
  static constexpr std::size_t kCapacity = 128 * 1024;
  char* const m_start = map();
};

inline void checkUntouched(const void* begin, const void* end) {
  const auto isPattern = [](unsigned char byte) { return byte == kPattern; };
  const auto* const bytes = static_cast<const unsigned char*>(begin);
  check(std::all_of(bytes, static_cast<const unsigned char*>(end), isPattern), "written behind the end");
}

inline bool isWhole(const char* text) {
  const QByteArray marked = "x" + QByteArray(text);  // a byte order mark in front would be swallowed
  return QString::fromUtf8(marked).toUtf8() == marked;
}
inline bool isWhole(const unsigned short* text) {
  return QString::fromUtf16(text).isValidUtf16();
}
template <typename Character>
void checkText(const Character* field, std::size_t capacity) {
  check(std::find(field, field + capacity, 0) != field + capacity, "a text without a terminator");
  check(isWhole(field), "a text with part of a character");
}

}  // namespace fuzz
