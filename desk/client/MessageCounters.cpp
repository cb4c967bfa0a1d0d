#include "MessageCounters.h"

#include <QString>
#include <algorithm>

namespace Tavroline {

MessageCounters::Values MessageCounters::values() const {
  Values values{accepted, delivered, pending, superseded, dropped, refused};
  std::copy(lost.begin(), lost.end(), values.end() - kLossCauses);
  return values;
}

QByteArray MessageCounters::text() const {
  QString text = QStringLiteral(
      "Books: accepted %1, delivered %2, pending %3, superseded %4, dropped %5 (rejected %7, ends service %8,"
      " unload %9), refused %6 (queue full %10, out of memory %11, unsendable %12)");
  for (const quint64 value : values()) {
    text = text.arg(value);
  }
  return text.toUtf8();
}

}  // namespace Tavroline
