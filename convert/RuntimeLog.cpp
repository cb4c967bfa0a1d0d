#include "RuntimeLog.h"

#include <string>

#include "CodesysLog.h"
#include "ComponentIdentity.h"

namespace {
constexpr int kLogClass = 2;
}

void RuntimeLog::write(const char* file, const char* function, const QString& message, int line) {
  const std::string lineText = std::to_string(line);
  CodesysLog(nullptr, ComponentIdentity::componentId(), kLogClass, 0, 0, ComponentIdentity::kName, file,
             function, lineText.c_str())
      << QVariant(message);
}

void RuntimeLog::write(const char* file, const char* function, const QString& message,
                       const QString& errorText, int line) {
  const std::string lineText = std::to_string(line);
  CodesysLog(nullptr, ComponentIdentity::componentId(), kLogClass, 0, 0, ComponentIdentity::kName, file,
             function, lineText.c_str())
      << QVariant(message) << QVariant(errorText);
}
