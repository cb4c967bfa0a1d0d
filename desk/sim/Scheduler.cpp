#include "Scheduler.h"

#include <cxxabi.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "CallMonitor.h"
#include "CallScope.h"
#include "Interposed.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

constexpr std::size_t kStackBytes = 4U << 20U;  // reserved; a page is used once it is touched

/** What the C++ library keeps for each thread about exceptions. */
struct ExceptionState {
  void* caught = nullptr;
  unsigned uncaught = 0;
};

}  // namespace

struct Scheduler::Fibre {
  std::string name;
  std::function<void()> body;
  bool preemptible = false;
  ucontext_t context{};
  void* stack = nullptr;

  // What it waits for.
  Nanoseconds due = 0;
  Nanoseconds notBefore = 0;
  const void* event = nullptr;
  pollfd* files = nullptr;
  nfds_t fileCount = 0;
  std::uint64_t activity = 0;  ///< when the files were looked at
  int ready = 0;               ///< how many of them are ready
  bool woken = false;
  bool ended = false;

  // What a thread has of its own.
  int error = 0;
  ExceptionState exceptions;
  const CallScope* scope = nullptr;
  CallMeter* meter = nullptr;
#ifdef __SANITIZE_ADDRESS__
  void* fakeStack = nullptr;
#endif
};

Scheduler& Scheduler::instance() {
  static auto* const scheduler = new Scheduler();  // outlives all other static objects
  return *scheduler;
}

Scheduler::Scheduler() {
  m_fibres.push_back(std::make_unique<Fibre>());
  m_current = m_fibres.front().get();
  m_current->name = "main";
}

void Scheduler::seed(std::uint64_t seed, unsigned switchOneIn) {
  m_random.seed(seed);
  sm_switchOneIn = switchOneIn;
}

Scheduler::Fibre* Scheduler::start(std::string name, std::function<void()> body, bool preemptible) {
  auto fibre = std::make_unique<Fibre>();
  fibre->name = std::move(name);
  fibre->body = std::move(body);
  fibre->preemptible = preemptible;
  fibre->stack =
      mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (fibre->stack == MAP_FAILED) {
    std::perror("tavroline-sim: a stack");
    std::abort();
  }
  mprotect(fibre->stack, 4096, PROT_NONE);
  getcontext(&fibre->context);
  fibre->context.uc_stack.ss_sp = fibre->stack;
  fibre->context.uc_stack.ss_size = kStackBytes;
  makecontext(&fibre->context, enter, 0);
  m_fibres.push_back(std::move(fibre));
  return m_fibres.back().get();
}

void Scheduler::enter() {
  Scheduler& self = instance();
#ifdef __SANITIZE_ADDRESS__
  // The first fibre's stack is known from the first change only.
  const void* stack = nullptr;
  std::size_t size = 0;
  __sanitizer_finish_switch_fiber(nullptr, &stack, &size);
  if (stack_t& first = self.first()->context.uc_stack; first.ss_size == 0) {
    first.ss_sp = const_cast<void*>(stack);
    first.ss_size = size;
  }
#endif
  Fibre& fibre = *self.m_current;
  fibre.body();
  fibre.body = nullptr;
  fibre.ended = true;
  self.wake(&fibre, true);
  self.leave(self.choose());
}

void Scheduler::join(Fibre* fibre) {
  while (!fibre->ended) {
    waitUntil(kNever, fibre);
  }
  munmap(fibre->stack, kStackBytes);
  m_fibres.erase(
      std::find_if(m_fibres.begin(), m_fibres.end(), [fibre](const auto& f) { return f.get() == fibre; }));
}

const std::string& Scheduler::name(const Fibre* fibre) {
  return fibre->name;
}

void Scheduler::rename(Fibre* fibre, const char* name) {
  fibre->name = name;
}

void Scheduler::holdBack(Fibre* fibre, Nanoseconds until) {
  fibre->notBefore = until;
}

std::vector<Scheduler::Fibre*> Scheduler::periodicThreads() const {
  std::vector<Fibre*> found;
  for (const auto& fibre : m_fibres) {
    if (fibre->preemptible && fibre->event != nullptr && fibre->due != kNever) {
      found.push_back(fibre.get());
    }
  }
  return found;
}

bool Scheduler::waitUntil(Nanoseconds due, const void* event) {
  m_current->due = due;
  m_current->event = event;
  m_current->woken = false;
  leave(choose());
  m_current->event = nullptr;
  return m_current->woken;
}

void Scheduler::wake(const void* event, bool all) {
  for (const auto& fibre : m_fibres) {
    if (fibre->event == event && !fibre->woken) {
      fibre->woken = true;
      if (!all) {
        return;
      }
    }
  }
}

int Scheduler::pollUntil(pollfd* files, nfds_t count, Nanoseconds due, const void* event) {
  m_current->files = files;
  m_current->fileCount = count;
  m_current->activity = m_activity - 1;
  m_current->ready = 0;
  waitUntil(due, event);
  m_current->files = nullptr;
  // The last look holds unless something has happened since.
  return m_current->activity == m_activity ? m_current->ready : Interposed::realPoll(files, count);
}

bool Scheduler::canRun(Fibre& fibre) {
  if (fibre.ended || fibre.notBefore > m_now) {
    return false;
  }
  if (fibre.files != nullptr && !fibre.woken && fibre.activity != m_activity) {
    fibre.activity = m_activity;
    fibre.ready = Interposed::realPoll(fibre.files, fibre.fileCount);
    fibre.woken = fibre.ready > 0;
  }
  return fibre.woken || fibre.due <= m_now;
}

Scheduler::Fibre& Scheduler::choose() {
  for (;;) {
    m_candidates.clear();
    Nanoseconds next = kNever;
    for (const auto& fibre : m_fibres) {
      if (canRun(*fibre)) {
        m_candidates.push_back(fibre.get());
      } else if (!fibre->ended) {
        const Nanoseconds due = fibre->woken ? fibre->notBefore : std::max(fibre->due, fibre->notBefore);
        next = std::min(next, due);
      }
    }
    if (!m_candidates.empty()) {
      return *m_candidates[m_candidates.size() == 1 ? 0 : m_random() % m_candidates.size()];
    }
    if (next == kNever) {
      std::fputs("tavroline-sim: every thread waits, and nothing will end a wait\n", stderr);
      std::abort();
    }
    m_now = std::max(m_now, next);
  }
}

void Scheduler::leave(Fibre& next) {
  Fibre& last = *m_current;
  if (&next == &last) {
    return;
  }
  auto* const exceptions = reinterpret_cast<ExceptionState*>(abi::__cxa_get_globals());
  last.error = errno;
  last.exceptions = std::exchange(*exceptions, next.exceptions);
  last.scope = CallScope::exchange(next.scope);
  last.meter = CallMeter::exchange(next.meter);
  m_current = &next;
#ifdef __SANITIZE_ADDRESS__
  __sanitizer_start_switch_fiber(last.ended ? nullptr : &last.fakeStack, next.context.uc_stack.ss_sp,
                                 next.context.uc_stack.ss_size);
#endif
  swapcontext(&last.context, &next.context);
#ifdef __SANITIZE_ADDRESS__
  __sanitizer_finish_switch_fiber(last.fakeStack, nullptr, nullptr);
#endif
  errno = last.error;
}

void Scheduler::interrupt() {
  if (m_current->preemptible && m_random() % sm_switchOneIn == 0) {
    pass();
  }
}

void Scheduler::failAllocation(std::string name, unsigned k) {
  m_failing = std::move(name);
  sm_failIn = k;
}

bool Scheduler::countAllocation() {
  return m_current->name == m_failing && --sm_failIn == 0;
}
