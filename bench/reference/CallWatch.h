#pragma once

#include <array>
#include <utility>

/**
 * Sees what a call does on this thread: how often it allocates, and each of its system calls by number.
 *
 * The program that links this has the malloc family and SIGSYS taken. For one thread of it; x86-64 and glibc
 * only, and neither under sanitizers nor under emulation.
 */
class CallWatch {
 public:
  static constexpr std::size_t kNumbers = 512;

  /** Take this thread's system calls. @throws std::system_error where the kernel cannot do it */
  CallWatch();
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  /** Run `call` under watch; what the last one did stays until the next. */
  template <typename Call>
  void watch(Call call) {
    begin();
    call();
    end();
  }

  long allocations() const { return m_allocations; }

  /** By system call number, contended locks (futex) and the allocator's growth among them. */
  const std::array<long, kNumbers>& systemCalls() const { return m_systemCalls; }

  /** Growing and shrinking of the heap: brk and the calls that map memory. */
  static bool isAllocators(std::size_t number);

 private:
  void begin();
  void end();

  long m_allocations = 0;
  std::array<long, kNumbers> m_systemCalls{};
};
