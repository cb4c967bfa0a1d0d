#pragma once

#include <array>
#include <utility>

/**
 * Counts the allocations and, by number, the system calls of a call on this thread.
 *
 * It replaces the program's malloc family and its SIGSYS handler. For one thread of the program; x86-64 and
 * glibc only, and neither under sanitizers nor under emulation.
 */
class CallWatch {
 public:
  static constexpr std::size_t kNumbers = 512;

  /** Redirect this thread's system calls. @throws std::system_error if the kernel does not support it */
  CallWatch();
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  /** Run `call` and count; the counts are valid until the next call of watch(). */
  template <typename Call>
  void watch(Call call) {
    begin();
    call();
    end();
  }

  long allocations() const { return m_allocations; }

  /** Counts by system call number, including contended locks (futex) and growth of the heap. */
  const std::array<long, kNumbers>& systemCalls() const { return m_systemCalls; }

  /** Whether the allocator grows and shrinks the heap by this call: brk and the calls that map memory. */
  static bool isAllocators(std::size_t number);

 private:
  void begin();
  void end();

  long m_allocations = 0;
  std::array<long, kNumbers> m_systemCalls{};
};
