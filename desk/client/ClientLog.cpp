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

void clientLog(const char* file, const char* function, int line, const char* text) noexcept {
  try {
    const QByteArray lineText = QByteArray::number(line);
    CodesysLog(nullptr, hashFromString(QLatin1String(kComponent)), kLogClass, 0, 0, kComponent, file,
               function, lineText.constData())
        << QVariant(QString::fromUtf8(text));
  } catch (...) {  // NOLINT(bugprone-empty-catch): there is no other place to report the error
  }
}

}  // namespace Tavroline
