#include "ExceptionGuard.h"

#include <QString>

#include <exception>

#include "RuntimeLog.h"

void ExceptionGuard::report(const char* file, const char* function) noexcept {
  try {
    try {
      throw;
    } catch (const std::exception& exception) {
      RuntimeLog::write(file, function, QStringLiteral("exception:"), QString::fromUtf8(exception.what()));
    } catch (...) {
      RuntimeLog::write(file, function, QStringLiteral("exception:"), QStringLiteral("of an unknown type"));
    }
  } catch (...) {  // NOLINT(bugprone-empty-catch): there is nowhere left to report to
  }
}
