#include "Books.h"

#include <algorithm>
#include <numeric>

namespace Tavroline {

namespace {

// The first cause that drops; the causes before it refuse.
constexpr auto kFirstDropping = static_cast<std::ptrdiff_t>(Loss::Unsendable);

const char* describe(Loss cause) {
  switch (cause) {
    case Loss::QueueFull:
      return "the queue is full";
    case Loss::NoMemory:
      return "out of memory";
    case Loss::Unsendable:
      return "too large or not transportable";
    case Loss::Rejected:
      return "rejected by the service";
    case Loss::Unanswered:
      return "not answered by the service";
    case Loss::Unload:
      return "not sent before unload";
  }
  return "";
}

QString utc(qint64 milliseconds) {
  return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC).toString(Qt::ISODateWithMs);
}

}  // namespace

quint64 Books::refused() const {
  return std::accumulate(lost.begin(), lost.begin() + kFirstDropping, quint64{0});
}

quint64 Books::dropped() const {
  return std::accumulate(lost.begin() + kFirstDropping, lost.end(), quint64{0});
}

Books::Figures Books::figures() const {
  return {accepted,
          delivered,
          pending,
          superseded,
          dropped(),
          refused(),
          count(Loss::Unsendable),
          count(Loss::Rejected),
          count(Loss::Unanswered),
          count(Loss::Unload),
          count(Loss::QueueFull),
          count(Loss::NoMemory)};
}

QString Books::text() const {
  QString text = QStringLiteral(
      "Books: accepted %1, delivered %2, pending %3, superseded %4,"
      " dropped %5 (unsendable %7, rejected %8, unanswered %9, unload %10),"
      " refused %6 (queue full %11, out of memory %12)");
  for (const quint64 figure : figures()) {
    text = text.arg(figure);
  }
  return text;
}

void Gap::add(const Message& message, Clock::time_point now) {
  firstSequence = count == 0 ? message.sequence : std::min(firstSequence, message.sequence);
  firstTime = count == 0 ? message.handedOverAt : std::min(firstTime, message.handedOverAt);
  lastSequence = std::max(lastSequence, message.sequence);
  lastTime = std::max(lastTime, message.handedOverAt);
  lastLoss = now;
  ++count;
}

QString Gap::text(Loss cause) const {
  return QStringLiteral("%1 message(s) lost, %2: numbers %3 to %4, handed over %5 to %6")
      .arg(QString::number(count), QLatin1String(describe(cause)), QString::number(firstSequence),
           QString::number(lastSequence), utc(firstTime), utc(lastTime));
}

}  // namespace Tavroline
