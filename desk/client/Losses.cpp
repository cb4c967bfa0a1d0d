#include "Losses.h"

#include <QDateTime>
#include <QString>
#include <algorithm>
#include <utility>

namespace Tavroline {

namespace {

constexpr std::array<const char*, kLossCauses> kTexts = {"rejected by the service",
                                                         "the service ended each time it was sent",
                                                         "not confirmed before unload",
                                                         "the queue is full",
                                                         "out of memory",
                                                         "too large or not transportable"};

QString utc(qint64 milliseconds) {
  return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC).toString(Qt::ISODateWithMs);
}

}  // namespace

QByteArray Gap::text(std::size_t cause) const {
  const QString numbers =
      firstNumber == 0 ? QString() : QStringLiteral("numbers %1 to %2, ").arg(firstNumber).arg(lastNumber);
  return QStringLiteral("%1 message(s) lost, %2: %3handed over %4 to %5")
      .arg(QString::number(count), QLatin1String(kTexts[cause]), numbers, utc(firstTime), utc(lastTime))
      .toUtf8();
}

void Losses::add(Loss cause, quint64 number, qint64 handedOverAt) noexcept {
  const auto index = static_cast<std::size_t>(cause);
  ++m_counts[index];
  Gap& gap = m_gaps[index];
  const bool isFirst = gap.count++ == 0;
  gap.firstNumber = isFirst ? number : std::min(gap.firstNumber, number);
  gap.firstTime = isFirst ? handedOverAt : std::min(gap.firstTime, handedOverAt);
  gap.lastNumber = std::max(gap.lastNumber, number);
  gap.lastTime = std::max(gap.lastTime, handedOverAt);
  gap.lastLoss = Clock::now();
  gap.firstLoss = isFirst ? gap.lastLoss : gap.firstLoss;
}

Losses::Gaps Losses::takeEnded(Clock::time_point now, bool all) {
  Gaps ended{};
  for (std::size_t cause = 0; cause < kLossCauses; ++cause) {
    const Gap& gap = m_gaps[cause];
    if (all || now - gap.lastLoss >= kGapPause || now - gap.firstLoss >= kLongestGap) {
      ended[cause] = std::exchange(m_gaps[cause], Gap{});
    }
  }
  return ended;
}

}  // namespace Tavroline
