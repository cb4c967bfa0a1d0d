// Reply bytes through load, filter and copy of both readers: raw ones, and lists from a small generator.

#include <QJsonDocument>

#include "Fuzz.h"
#include "ReplyCheck.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "fake_platform.h"

namespace {

const char kKeys[] =
    "EventlistId EventType IconType LocalTime ModuleName Description User Keywords AlarmActive AlarmID";

QByteArray list(FuzzedDataProvider& input) {
  QJsonArray entries;
  while (entries.size() < 5 && input.remaining_bytes() > 0) {
    QJsonObject entry;
    for (const QByteArray& key : QByteArray(kKeys).split(' ')) {
      const int number = input.ConsumeIntegralInRange(-1, 61);
      const QString text = QString::fromStdString(input.ConsumeRandomLengthString(100));
      const QString time = QStringLiteral("2026-03-29T02:%1:59.%2").arg(number).arg(text);
      const QJsonValue values[] = {text, number, number > 30, number / 7.0, QJsonArray{text, number}, time};
      entry.insert(QString::fromLatin1(key), values[input.ConsumeIntegralInRange(0, 5)]);
    }
    entries.append(entry);
  }
  return QJsonDocument(QJsonObject{{QStringLiteral("ListData"), entries}}).toJson(QJsonDocument::Compact);
}

template <typename Entry, typename Reader>
void copy(const Reader& reader, std::int16_t (Reader::*convert)(int&, Entry*, int) const, int capacity) {
  static GuardedMemory memory;
  auto* const entries = memory.last<Entry>(static_cast<std::size_t>(std::max(capacity, 0)));
  int count = -1;
  fuzz::check((reader.*convert)(count, entries, capacity) == ResultDone, "the copy failed");
  fuzz::check(count >= 0 && count <= std::max(capacity, 0), "more entries than there is room for");
}

}  // namespace

void fuzz::run(FuzzedDataProvider& input) {
  fake::reset();
  TavrolineEventlistRead events;
  TavrolineAlarmlistRead alarms;
  if (input.ConsumeBool()) {
    events.setFilterDateTime(QDateTime(), QDateTime(QDate(2026, 3, 29), QTime(2, 30)));
    alarms.addFilterKeyword(TavrolineFilter::FilterTypeInclude, QStringLiteral("a"));
  }
  const int capacity = input.ConsumeIntegralInRange(-1, 6);
  const QByteArray reply =
      input.ConsumeBool() ? list(input) : QByteArray::fromStdString(input.ConsumeRemainingBytesAsString());
  if (Tavroline::ReplyCheck::fault(reply.constData()) != nullptr) {
    return;  // the client fails it
  }
  fake::answer("getCompleteEventlist", {{0, reply}});
  fake::answer("getCompleteAlarmlist", {{0, reply}});
  for (const int result : {ResultBusy, ResultDone}) {
    check(events.loadCompleteEventlist(0) == result, "the events were not loaded");
    check(alarms.loadCompleteAlarmlist() == result, "the alarms were not loaded");
  }
  copy(events, &TavrolineEventlistRead::convertEventlist, capacity);
  copy(alarms, &TavrolineAlarmlistRead::convertAlarmlist, capacity);
}
