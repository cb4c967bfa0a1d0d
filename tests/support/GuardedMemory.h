#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

/** Memory in front of pages that must not be touched: an access behind it ends the process. */
class GuardedMemory {
 public:
  GuardedMemory() {
    if (mprotect(m_start, kCapacity, PROT_READ | PROT_WRITE) != 0) {
      std::abort();
    }
  }
  ~GuardedMemory() { munmap(m_start, 2 * kCapacity); }
  GuardedMemory(const GuardedMemory&) = delete;
  GuardedMemory& operator=(const GuardedMemory&) = delete;

  /** The last `count` elements, which have the bytes 0xA5. */
  template <typename Element>
  Element* last(std::size_t count) {
    const std::size_t size = count * sizeof(Element);
    return static_cast<Element*>(std::memset(static_cast<char*>(m_start) + kCapacity - size, 0xA5, size));
  }

 private:
  static constexpr std::size_t kCapacity = std::size_t{128} * 1024;
  void* const m_start = mmap(nullptr, 2 * kCapacity, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
};
