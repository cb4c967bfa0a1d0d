#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>

#include <QString>

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
  GuardedMemory() { check(mprotect(m_start, kCapacity, PROT_READ | PROT_WRITE) == 0, "no memory"); }

  template <typename Element>
  Element* last(std::size_t count) {
    const std::size_t size = count * sizeof(Element);
    return static_cast<Element*>(std::memset(static_cast<char*>(m_start) + kCapacity - size, 0xA5, size));
  }

 private:
  static constexpr std::size_t kCapacity = std::size_t{128} * 1024;
  void* const m_start = mmap(nullptr, 2 * kCapacity, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
};

/** What a target does with one input. */
void run(FuzzedDataProvider& input);

}  // namespace fuzz

extern "C" [[gnu::used]] inline int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  fuzz::run(input);
  return 0;
}
