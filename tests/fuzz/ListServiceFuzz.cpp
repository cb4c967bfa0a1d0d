// Batches of messages with arbitrary contents and spoiled bytes: each is applied or refused, and whatever was
// stored, both lists stay loadable.

#include <QJsonDocument>

#include "BusText.h"
#include "CallError.h"
#include "Fuzz.h"
#include "ListService.h"
#include "MessageWriter.h"
#include "Schema.h"

namespace {

QString text(FuzzedDataProvider& input) {
  return QString::fromStdString(input.ConsumeRandomLengthString(50));
}

QVariant value(FuzzedDataProvider& input, int depth = 0) {
  switch (depth < 7 ? input.ConsumeIntegralInRange(0, 4) : 0) {
    case 0:
      return input.ConsumeIntegral<int>();
    case 1:
      return input.ConsumeBool();
    case 2:
      return text(input);
    case 3:
      return QVariantList{value(input, depth + 1), value(input, depth + 1)};
    default:
      return QVariantMap{{text(input), value(input, depth + 1)}, {text(input), value(input, depth + 1)}};
  }
}

std::string batch(FuzzedDataProvider& input) {
  std::string bytes;
  for (int count = input.ConsumeIntegralInRange(0, 5); count > 0; --count) {
    Tavroline::MessageWriter message;
    if (input.ConsumeBool()) {
      message.acknowledgeAlarms(text(input), {text(input)});
    } else {
      message.entry(text(input), input.ConsumeIntegralInRange(0, 3), input.ConsumeIntegralInRange(0, 3),
                    input.ConsumeIntegral<qint64>() >> input.ConsumeIntegralInRange(0, 63), text(input),
                    text(input), text(input), text(input), {text(input)}, value(input).toMap());
    }
    bytes += message.bytes();
  }
  while (!bytes.empty() && input.ConsumeBool()) {
    bytes[input.ConsumeIntegralInRange<std::size_t>(0, bytes.size() - 1)] = input.ConsumeIntegral<char>();
  }
  return bytes;
}

}  // namespace

void fuzz::run(FuzzedDataProvider& input) {
  static Database database("");
  static ListService lists((Schema::open(database), database), {5});
  database.execute("DELETE FROM events; DELETE FROM alarms; DELETE FROM sessions");
  for (quint64 stored = 0; stored < 50 && input.remaining_bytes() > 0;) {
    const std::string bytes = batch(input);
    const quint64 first = stored + 1 - input.ConsumeIntegralInRange<quint64>(0, stored);
    try {
      const MessageReader::Batch messages = MessageReader::read(bytes);
      const quint64 expected = qMax(stored, first - 1 + messages.size());
      stored = lists.store({"s", 0}, first, first - 1, messages).upTo;
      check(stored == expected, "a wrong number");
      lists.raiseAlarms({"s", 0}, messages);
    } catch (const CallError&) {
    }
  }
  for (const QByteArray& list : {lists.events().list(0, {}), lists.alarms().list({})}) {
    check(QJsonDocument::fromJson(list).isObject(), "a list cannot be loaded");
    check(Tavroline::busText(QString::fromUtf8(list)).toUtf8() == list, "the bus refuses a list");
  }
}
