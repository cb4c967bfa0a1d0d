// Reply bytes through load, filter and copy of both readers: raw ones, and lists from a small generator.

#include <QJsonDocument>

#include "Fuzz.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "fake_platform.h"

namespace {

const char kKeys[] =
    "EventlistId EventType IconType LocalTime ModuleName Description User Keywords AlarmActive "
    "AlarmAcknowledgment AlarmID";

QByteArray list(FuzzedDataProvider& input) {
  QJsonArray entries;
  while (entries.size() < 5 && input.remaining_bytes() > 0) {
    QJsonObject entry;
    for (const QByteArray& key : QByteArray(kKeys).split(' ')) {
      const int number = input.ConsumeIntegralInRange(-1, 61);
      const QString text = QString::fromStdString(input.ConsumeRandomLengthString(100));
      const QJsonValue values[] = {text,
                                   number,
                                   number > 30,
                                   input.ConsumeFloatingPoint<double>(),
                                   QJsonValue(),
                                   QJsonArray{text, number, QStringLiteral("a")},
                                   QStringLiteral("2026-03-29T02:%1:59.%2").arg(number).arg(text)};
      entry.insert(QString::fromLatin1(key), values[input.ConsumeIntegralInRange(0, 6)]);
    }
    entries.append(entry);
  }
  return QJsonDocument(QJsonObject{{QStringLiteral("ListData"), entries}}).toJson(QJsonDocument::Compact);
}

template <typename Entry, auto kCopy, typename Reader, typename Text>
void copy(const Reader& reader, int capacity, Text Entry::*ownText) {
  static fuzz::GuardedMemory memory;
  auto* const entries = memory.last<Entry>(static_cast<std::size_t>(std::max(capacity, 0)));
  int count = -1;
  fuzz::check((reader.*kCopy)(count, entries, capacity) == ResultDone, "the copy failed");
  fuzz::check(count >= 0 && count <= std::max(capacity, 0), "more entries than there is room for");
  for (const Entry* entry = entries; entry != entries + count; ++entry) {
    fuzz::checkText(entry->sIconType, TAVROLINE_TEXT_80);
    fuzz::checkText(entry->sModuleName, TAVROLINE_TEXT_80);
    fuzz::checkText(entry->wsDescription, TAVROLINE_TEXT_255);
    fuzz::checkText(entry->*ownText, TAVROLINE_TEXT_80);
  }
}

void setFilter(TavrolineReadBaseClass& reader, FuzzedDataProvider& input) {
  if (input.ConsumeBool()) reader.addFilterEventType(EventlistHandlerEnums::EventTypeEvent);
  if (input.ConsumeBool()) reader.addFilterKeyword(TavrolineFilter::FilterTypeInclude, QStringLiteral("a"));
  if (input.ConsumeBool()) reader.addFilterKeyword(TavrolineFilter::FilterTypeExclude, QString());
  if (input.ConsumeBool()) reader.setFilterDateTime(QDateTime(), QDateTime(QDate(2026, 3, 29), QTime(2, 30)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fake::reset();
  FuzzedDataProvider input(data, size);
  TavrolineEventlistRead events;
  TavrolineAlarmlistRead alarms;
  setFilter(events, input);
  setFilter(alarms, input);
  alarms.setFilterStateAlarm(input.ConsumeBool());
  const int capacity = input.ConsumeIntegralInRange(-1, 6);
  const bool raw = input.ConsumeBool();
  const QByteArray reply =
      raw ? QByteArray::fromStdString(input.ConsumeRemainingBytesAsString()) : list(input);
  fake::answer("getCompleteEventlist", {{0, reply}});
  fake::answer("getCompleteAlarmlist", {{0, reply}});
  for (const int result : {ResultBusy, ResultDone}) {
    fuzz::check(events.loadCompleteEventlist(0) == result, "the events were not loaded");
    fuzz::check(alarms.loadCompleteAlarmlist() == result, "the alarms were not loaded");
  }
  using Event = stEventlistEntryType;
  using Alarm = stAlarmlistEntryType;
  copy<Event, &TavrolineEventlistRead::convertEventlist>(events, capacity, &Event::wsUser);
  copy<Alarm, &TavrolineAlarmlistRead::convertAlarmlist>(alarms, capacity, &Alarm::sAlarmID);
  return 0;
}
