#include "MessageCounters.h"

#include <numeric>

namespace Tavroline {

namespace {
constexpr auto kFirstDropping = static_cast<std::ptrdiff_t>(Loss::Rejected);
}

quint64 MessageCounters::refused() const {
  return std::accumulate(lost.begin(), lost.begin() + kFirstDropping, quint64{0});
}

quint64 MessageCounters::dropped() const {
  return std::accumulate(lost.begin() + kFirstDropping, lost.end(), quint64{0});
}

MessageCounters::Values MessageCounters::values() const {
  return {accepted,
          delivered,
          pending,
          superseded,
          dropped(),
          refused(),
          count(Loss::Rejected),
          count(Loss::EndsService),
          count(Loss::Unload),
          count(Loss::QueueFull),
          count(Loss::NoMemory),
          count(Loss::Unsendable)};
}

QString MessageCounters::text() const {
  QString text = QStringLiteral(
      "Books: accepted %1, delivered %2, pending %3, superseded %4, dropped %5 (rejected %7, ends service %8,"
      " unload %9), refused %6 (queue full %10, out of memory %11, unsendable %12)");
  for (const quint64 value : values()) {
    text = text.arg(value);
  }
  return text;
}

}  // namespace Tavroline
