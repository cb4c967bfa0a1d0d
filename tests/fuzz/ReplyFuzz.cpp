// Reply bytes through load, filter and copy of both readers: raw ones, and lists from a small generator.

#include <QJsonDocument>

#include "Fuzz.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "fake_platform.h"

namespace {

QString text(FuzzedDataProvider& input) {
  return QString::fromStdString(input.ConsumeRandomLengthString(300));
}

QJsonValue value(FuzzedDataProvider& input) {
  const int number = input.ConsumeIntegralInRange(-1, 61);
  switch (input.ConsumeIntegralInRange(0, 6)) {
    case 0:
      return number;
    case 1:
      return input.ConsumeFloatingPoint<double>();
    case 2:
      return number > 30;
    case 3:
      return QJsonArray{QStringLiteral("a"), text(input), number, QJsonValue()};
    case 4:
      return QStringLiteral("2026-03-29T02:%1:59.%2").arg(number).arg(text(input));
    default:
      return text(input);
  }
}

QByteArray list(FuzzedDataProvider& input) {
  static const QStringList keys =
      QStringLiteral(
          "EventlistId EventType IconType LocalTime ModuleName Description User Keywords AlarmActive "
          "AlarmAcknowledgment AlarmID")
          .split(QLatin1Char(' '));
  QJsonArray entries;
  while (entries.size() < 5 && input.remaining_bytes() > 0) {
    QJsonObject entry;
    for (const QString& key : keys) {
      if (input.ConsumeIntegralInRange(0, 7) != 0) entry.insert(key, value(input));
    }
    entries.append(entry);
  }
  return QJsonDocument(QJsonObject{{QStringLiteral("ListData"), entries}}).toJson(QJsonDocument::Compact);
}

template <typename Entry, auto kCopy, auto kOwnText, typename Reader>
int copy(const Reader& reader, int capacity) {
  static fuzz::GuardedMemory memory;
  auto* const entries = memory.last<Entry>(static_cast<std::size_t>(std::max(capacity, 0)));
  int count = -1;
  fuzz::check((reader.*kCopy)(count, entries, capacity) == ResultDone, "the copy failed");
  fuzz::check(count >= 0 && count <= std::max(capacity, 0), "more entries than there is room for");
  for (const Entry* entry = entries; entry != entries + count; ++entry) {
    fuzz::checkText(entry->sIconType, TAVROLINE_TEXT_80);
    fuzz::checkText(entry->sModuleName, TAVROLINE_TEXT_80);
    fuzz::checkText(entry->wsDescription, TAVROLINE_TEXT_255);
    fuzz::checkText(entry->*kOwnText, TAVROLINE_TEXT_80);
  }
  fuzz::checkUntouched(entries + count, entries + std::max(capacity, 0));
  return count;
}

template <typename Entry, auto kCopy, auto kOwnText, typename Reader>
void filterAndCopy(Reader& reader, FuzzedDataProvider& input) {
  const int capacity = input.ConsumeIntegralInRange(-1, 6);
  const int all = copy<Entry, kCopy, kOwnText>(reader, capacity);
  if (input.ConsumeBool()) reader.addFilterEventType(EventlistHandlerEnums::EventTypeEvent);
  if (input.ConsumeBool()) reader.addFilterKeyword(TavrolineFilter::FilterTypeInclude, QStringLiteral("a"));
  if (input.ConsumeBool()) reader.addFilterKeyword(TavrolineFilter::FilterTypeExclude, text(input));
  if (input.ConsumeBool()) reader.setFilterDateTime(QDateTime(), QDateTime(QDate(2026, 3, 29), QTime(2, 30)));
  fuzz::check(copy<Entry, kCopy, kOwnText>(reader, capacity) <= all, "a filter let more entries pass");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fake::reset();
  FuzzedDataProvider input(data, size);
  const QByteArray reply =
      input.ConsumeBool() ? list(input) : QByteArray::fromStdString(input.ConsumeRemainingBytesAsString());
  fake::answer("getCompleteEventlist", {{2, {}}, {0, reply}});
  fake::answer("getCompleteAlarmlist", {{2, {}}, {0, reply}});
  TavrolineEventlistRead events;
  TavrolineAlarmlistRead alarms;
  fuzz::check(events.loadCompleteEventlist(0) == ResultBusy && alarms.loadCompleteAlarmlist() == ResultBusy,
              "issued");
  fuzz::check(events.loadCompleteEventlist(0) == ResultDone && alarms.loadCompleteAlarmlist() == ResultDone,
              "loaded");
  alarms.setFilterStateAlarm(input.ConsumeBool());
  filterAndCopy<stEventlistEntryType, &TavrolineEventlistRead::convertEventlist,
                &stEventlistEntryType::wsUser>(events, input);
  filterAndCopy<stAlarmlistEntryType, &TavrolineAlarmlistRead::convertAlarmlist,
                &stAlarmlistEntryType::sAlarmID>(alarms, input);
  return 0;
}
