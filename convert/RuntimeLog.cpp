#include "RuntimeLog.h"

#include <exception>
#include <string>

#include "CodesysLog.h"
#include "StringHash.h"

namespace Tavroline {

namespace {

constexpr int kLogClass = 2;

template <typename... Items>
void writeRecord(const char* file, const char* function, int line, const Items&... items) {
  const std::string lineText = std::to_string(line);
  (CodesysLog(nullptr, ComponentId(), kLogClass, 0, 0, kComponentName, file, function, lineText.c_str())
   << ... << QVariant(items));
}

QString currentExceptionText() {
  try {
    throw;
  } catch (const std::exception& exception) {
    return QString::fromUtf8(exception.what());
  } catch (...) {
    return QStringLiteral("of an unknown type");
  }
}

}  // namespace

std::uint32_t ComponentId() {
  return (hashFromString(QLatin1String(kComponentName)) & 0xFFFFu) | 0x1B4E3000u;
}

void RuntimeLog::write(const char* file, const char* function, const QString& message, int line) noexcept {
  reportExceptions(
      file, function, [&] { writeRecord(file, function, line, message); }, line);
}

void RuntimeLog::write(const char* file, const char* function, const QString& message,
                       const QString& errorText, int line) noexcept {
  reportExceptions(
      file, function, [&] { writeRecord(file, function, line, message, errorText); }, line);
}

void RuntimeLog::writeException(const char* file, const char* function, int line) noexcept {
  try {
    writeRecord(file, function, line, QStringLiteral("exception:"), currentExceptionText());
  } catch (...) {  // NOLINT(bugprone-empty-catch): there is nowhere left to report to
  }
}

}  // namespace Tavroline
