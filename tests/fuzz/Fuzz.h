#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>

#include <QString>

#include <algorithm>
#include <cstring>

/** What the fuzz targets share: memory that ends where it says, and the checks that a finding is made of. */
namespace fuzz {

/** Stays in release builds, and ends the process: the fuzzer then reports the input. */
inline void check(bool condition, const char* what) {
  if (!condition) qFatal("check failed: %s", what);
}

/** Memory in front of pages that must not be touched; what is handed out ends there. */
class GuardedMemory {
 public:
  GuardedMemory() {
    void* const start = mmap(nullptr, 2 * kCapacity, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    check(mprotect(start, kCapacity, PROT_READ | PROT_WRITE) == 0, "no memory");
    m_start = static_cast<char*>(start);
  }

  template <typename Element>
  Element* last(std::size_t count) {
    const std::size_t size = count * sizeof(Element);
    return static_cast<Element*>(std::memset(m_start + kCapacity - size, 0xA5, size));
  }

 private:
  static constexpr std::size_t kCapacity = std::size_t{128} * 1024;
  char* m_start;
};

/** Terminated within the field, and whole characters up to there. */
template <typename Character>
void checkText(const Character* field, std::size_t capacity) {
  check(std::find(field, field + capacity, 0) != field + capacity, "a text without a terminator");
  if constexpr (sizeof(Character) == 1) {
    const QByteArray marked = "x" + QByteArray(field);  // a byte order mark in front would be swallowed
    check(QString::fromUtf8(marked).toUtf8() == marked, "a STRING with part of a character");
  } else {
    check(QString::fromUtf16(field).isValidUtf16(), "a WSTRING with part of a character");
  }
}

}  // namespace fuzz
