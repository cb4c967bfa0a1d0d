#pragma once

#include <QString>

#include <cstdint>
#include <utility>

/**
 * Name and identifier of the component, and its records in the runtime log. A record has log class 2, the
 * numbers 0 for error and information, the component's name and identifier, and the file, function and line
 * that report.
 */
namespace Tavroline {

constexpr char kComponentName[] = "Tavroline";

/** The function that writes a record into the runtime log. */
struct Origin {
  const char* file;  ///< its source file without the extension
  const char* signature;
  int line;  ///< of that file
};

/** The name's hash in the low 16 bits, ORed with 0x1B4E3000. Computed at each call. [any-thread] */
std::uint32_t ComponentId();

namespace RuntimeLog {

/**
 * Write one record. If writing fails, one attempt is made to write that failure instead.
 * @param file source file without its extension; with `function` a literal, as compilers spell signatures
 * differently
 * @param function full signature of the function that writes the record
 * @param message the first item of the record
 * @param line by default the caller's. [any-thread]
 */
void write(const char* file, const char* function, const QString& message,
           int line = __builtin_LINE()) noexcept;

/** The same with the text of an error as a second item of the record. [any-thread] */
void write(const char* file, const char* function, const QString& message, const QString& errorText,
           int line = __builtin_LINE()) noexcept;

/** Write the exception that is being handled: "exception:" and its text. [any-thread] */
void writeException(const char* file, const char* function, int line) noexcept;

}  // namespace RuntimeLog

/** Run `body`. An exception ends here and becomes one record of `function`. [any-thread] */
template <typename Body>
void reportExceptions(const char* file, const char* function, Body&& body,
                      int line = __builtin_LINE()) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {
    RuntimeLog::writeException(file, function, line);
  }
}

}  // namespace Tavroline
