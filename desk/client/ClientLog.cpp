#include "ClientLog.h"

#include <QByteArray>
#include <QVariant>

#include "CodesysLog.h"
#include "StringHash.h"

namespace Tavroline {

namespace {
constexpr int kLogClass = 2;
constexpr char kComponent[] = "TavrolineClient";
}  // namespace

void clientLog(const char* file, const char* function, int line, const QString& text) noexcept {
  try {
    const QByteArray lineText = QByteArray::number(line);
    CodesysLog(nullptr, hashFromString(QLatin1String(kComponent)), kLogClass, 0, 0, kComponent, file,
               function, lineText.constData())
        << QVariant(text);
  } catch (...) {  // NOLINT(bugprone-empty-catch)
  }
}

void clientLog(const char* file, const char* function, int line, QLatin1String text) noexcept {
  try {
    clientLog(file, function, line, QString(text));
  } catch (...) {  // NOLINT(bugprone-empty-catch)
  }
}

}  // namespace Tavroline
