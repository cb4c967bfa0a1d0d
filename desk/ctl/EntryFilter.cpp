#include "EntryFilter.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

/** An age like 15m, or @ and seconds since 1970-01-01 00:00:00 UTC; invalid if the text is neither. */
QDateTime countedTime(const QString& text) {
  static const QRegularExpression form(QStringLiteral("^(@?)([0-9]{1,10})([smhdw]?)$"));
  const auto match = form.match(text);
  const bool isEpoch = !match.captured(1).isEmpty();
  if (!match.hasMatch() || isEpoch != match.captured(3).isEmpty()) {
    return {};
  }
  const qint64 number = match.captured(2).toLongLong();
  if (isEpoch) {
    return QDateTime::fromSecsSinceEpoch(number);
  }
  constexpr qint64 kSeconds[] = {1, 60, 3600, 86400, 604800};
  const auto unit = QLatin1String("smhdw").indexOf(match.captured(3));
  return QDateTime::currentDateTime().addSecs(-number * kSeconds[unit]);
}

/** The day that a text names: a date, "today" or "yesterday". Invalid for any other text. */
QDate dayOf(const QString& text, int ahead) {
  const QDate today = QDateTime::currentDateTime().addSecs(ahead).date();
  return text == QLatin1String("today")       ? today
         : text == QLatin1String("yesterday") ? today.addDays(-1)
                                              : QDate::fromString(text, Qt::ISODate);
}

/** Whether the entry has one of the words. */
bool sharesOne(const QJsonArray& carried, const EntryFilter::Texts& words) {
  return std::any_of(words.begin(), words.end(), [&carried](const std::string& word) {
    return carried.contains(QString::fromStdString(word));
  });
}

bool agrees(const QJsonValue& state, const std::optional<bool>& wanted) {
  return !wanted || state.toBool() == *wanted;
}

}  // namespace

bool EntryFilter::isEmpty() const {
  return types.empty() && keywords.empty() && excludedKeywords.empty() && !since.isValid() &&
         !until.isValid() && !active && !acknowledged;
}

bool EntryFilter::passes(const QJsonObject& entry) const {
  const auto time = QDateTime::fromString(entry.value(QStringLiteral("time")).toString(), Qt::ISODateWithMs);
  const QJsonArray carried = entry.value(QStringLiteral("keywords")).toArray();
  return (types.empty() || sharesOne({entry.value(QStringLiteral("type"))}, types)) &&
         (keywords.empty() || sharesOne(carried, keywords)) && !sharesOne(carried, excludedKeywords) &&
         (!since.isValid() || time >= since) && (!until.isValid() || time <= until) &&
         agrees(entry.value(QStringLiteral("active")), active) &&
         agrees(entry.value(QStringLiteral("acknowledged")), acknowledged);
}

QJsonArray EntryFilter::passing(const QJsonArray& entries, quint32 count) const {
  QJsonArray result;
  for (const QJsonValue& entry : entries) {
    if (count != 0 && static_cast<quint32>(result.size()) == count) {
      break;
    }
    if (passes(entry.toObject())) {
      result.append(entry);
    }
  }
  return result;
}

// Only the difference of the clocks is known, so both zones are taken to change on the same days.
QDateTime EntryFilter::clockTime(QDate date, QTime time, int ahead) {
  const QDateTime ours = QDateTime(date, time, Qt::UTC).addSecs(-ahead);
  const QDateTime local(ours.date(), ours.time());
  return local.toOffsetFromUtc(local.offsetFromUtc() + ahead);
}

QDateTime EntryFilter::time(const std::string& text, bool atEnd, int ahead) {
  const QString words = QString::fromStdString(text).trimmed().replace(QLatin1Char(' '), QLatin1Char('T'));
  const QDate day = dayOf(words, ahead);
  if (day.isValid()) {
    return clockTime(day, atEnd ? QTime(23, 59, 59, 999) : QTime(0, 0), ahead);
  }
  const QTime clock = QTime::fromString(words, Qt::ISODate);
  if (clock.isValid()) {
    return clockTime(QDateTime::currentDateTime().addSecs(ahead).date(), clock, ahead);
  }
  const QDateTime both = QDateTime::fromString(words, Qt::ISODateWithMs);
  if (both.isValid()) {
    return both.timeSpec() == Qt::LocalTime ? clockTime(both.date(), both.time(), ahead) : both;
  }
  return countedTime(words);
}
