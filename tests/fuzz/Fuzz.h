#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <unistd.h>

#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

/**
 * What the fuzz targets share: memory that ends where it says, and the checks that a finding is made of. Not
 * a test frame; a failed check ends the process, which the fuzzer reports with its input.
 */
namespace fuzz {

/** Kept in builds without assertions. */
inline void check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "check failed: %s\n", what);
  std::abort();
}

/** Memory in front of a page that must not be touched; what is handed out ends at that page. */
class GuardedMemory {
 public:
  explicit GuardedMemory(std::size_t capacity) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    m_capacity = (capacity + page - 1) / page * page;
    void* const memory =
        mmap(nullptr, m_capacity + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    check(memory != MAP_FAILED, "no memory for the target itself");
    m_end = static_cast<char*>(memory) + m_capacity;
    check(mprotect(m_end, page, PROT_NONE) == 0, "no guard page");
  }

  /** The last `count` elements, every byte of them `pattern`. */
  template <typename Element>
  Element* last(std::size_t count, int pattern) {
    check(count * sizeof(Element) <= m_capacity, "the target asks for more than it reserved");
    void* const start = m_end - count * sizeof(Element);
    std::memset(start, pattern, count * sizeof(Element));
    return static_cast<Element*>(start);
  }

  /** The last `count` elements with bytes of the input, repeated pattern once that is used up. */
  template <typename Element>
  Element* filled(std::size_t count, FuzzedDataProvider& input) {
    auto* const elements = last<Element>(count, input.ConsumeIntegral<std::uint8_t>());
    input.ConsumeData(elements, count * sizeof(Element));
    return elements;
  }

 private:
  std::size_t m_capacity;
  char* m_end;
};

/** Terminated within the field, and well-formed up to there. */
inline void checkText(const char* field, std::size_t capacity) {
  const auto length = static_cast<int>(strnlen(field, capacity));
  check(static_cast<std::size_t>(length) < capacity, "STRING without a terminator");
  const QByteArray text = "x" + QByteArray(field, length);  // a byte order mark in front would be swallowed
  check(QString::fromUtf8(text).toUtf8() == text, "STRING with a partial sequence");
}

inline void checkText(const unsigned short* field, std::size_t capacity) {
  const unsigned short* const end = std::find(field, field + capacity, 0);
  check(end != field + capacity, "WSTRING without a terminator");
  const QString text(reinterpret_cast<const QChar*>(field), static_cast<int>(end - field));
  check(text.isValidUtf16(), "WSTRING with a lone surrogate");
}

}  // namespace fuzz
