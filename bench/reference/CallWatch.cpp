#include "CallWatch.h"

#include <linux/prctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

// While a call is watched, only these instructions may enter the kernel: the handler repeats the intercepted
// system call here and returns from the signal here. The kernel checks the address after the instruction.
asm(R"(
watchBegin:
watchPassOn:
  mov %rdi, %r11
  mov (%r11), %rax
  mov 8(%r11), %rdi
  mov 16(%r11), %rsi
  mov 24(%r11), %rdx
  mov 32(%r11), %r10
  mov 40(%r11), %r8
  mov 48(%r11), %r9
  syscall
  ret
watchReturn:
  mov $15, %eax
  syscall
  nop
watchEnd:
)");
extern "C" {
extern char watchBegin[], watchEnd[];  // NOLINT(readability-identifier-naming): symbols of the assembler text
long watchPassOn(const long* numberAndArguments);
void watchReturn();
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* old, std::size_t size) noexcept;
}

namespace {

constexpr unsigned long kOwnReturn = 0x04000000;  // SA_RESTORER; the C library does not define it

thread_local long t_allocations = 0;
std::array<long, CallWatch::kNumbers> s_systemCalls{};
volatile char s_selector = SYSCALL_DISPATCH_FILTER_ALLOW;

void onSystemCall(int /*signal*/, siginfo_t* /*info*/, void* context) {
  auto& r = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  const long call[] = {r[REG_RAX], r[REG_RDI], r[REG_RSI], r[REG_RDX], r[REG_R10], r[REG_R8], r[REG_R9]};
  ++s_systemCalls[static_cast<std::size_t>(call[0]) % CallWatch::kNumbers];
  r[REG_RAX] = watchPassOn(call);
}

}  // namespace

#define SEEN [[gnu::visibility("default")]]
extern "C" {
SEEN void* malloc(std::size_t size) noexcept {
  ++t_allocations;
  return __libc_malloc(size);
}
SEEN void* calloc(std::size_t count, std::size_t size) noexcept {
  ++t_allocations;
  return __libc_calloc(count, size);
}
SEEN void* realloc(void* old, std::size_t size) noexcept {
  ++t_allocations;
  return __libc_realloc(old, size);
}
}

CallWatch::CallWatch() {
  // The kernel's form of a signal action: the C library would set its own return code, which the kernel would
  // intercept.
  const struct {
    void (*handler)(int, siginfo_t*, void*);
    unsigned long flags;
    void (*restorer)();
    unsigned long mask;
  } action{onSystemCall, SA_SIGINFO | kOwnReturn, watchReturn, 0};
  if (syscall(SYS_rt_sigaction, SIGSYS, &action, nullptr, sizeof action.mask) != 0 ||
      prctl(PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON, watchBegin, watchEnd - watchBegin,
            &s_selector) != 0) {
    throw std::system_error(errno, std::generic_category(), "system calls cannot be watched");
  }
}

bool CallWatch::isAllocators(std::size_t number) {
  return number == SYS_brk || number == SYS_mmap || number == SYS_munmap || number == SYS_mprotect;
}

void CallWatch::begin() {
  s_systemCalls.fill(0);
  t_allocations = 0;
  s_selector = SYSCALL_DISPATCH_FILTER_BLOCK;
}

void CallWatch::end() {
  s_selector = SYSCALL_DISPATCH_FILTER_ALLOW;
  m_allocations = t_allocations;
  m_systemCalls = s_systemCalls;
}
