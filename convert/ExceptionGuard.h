#pragma once

#include <utility>

/**
 * Where exceptions end: at the C boundary and in destructors. What was thrown becomes one runtime-log record;
 * a log that fails in turn is ignored. [any-thread]
 */
namespace ExceptionGuard {

/** Log the exception that is being handled, in the name of `function`. */
void report(const char* file, const char* function) noexcept;

}  // namespace ExceptionGuard

/** Run `body`; no exception leaves. */
template <typename Body>
void reportExceptions(const char* file, const char* function, Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {
    ExceptionGuard::report(file, function);
  }
}
