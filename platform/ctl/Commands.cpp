#include "Commands.h"

#include <QJsonDocument>

#include <algorithm>
#include <cstdio>

#include "EventlistHandlerDefinitions.h"
#include "ListView.h"

namespace {

using Keys = EventlistHandlerDefinitions;

QJsonArray entriesOf(const QJsonObject& reply) {
  const int omitted = reply.value(QStringLiteral("Omitted")).toInt();
  if (omitted > 0) {
    std::fprintf(stderr, "tavroline-ctl: %d older entries did not fit into the service's reply\n", omitted);
  }
  return reply.value(Keys::getListDataName()).toArray();
}

qint64 idOf(const QJsonValue& entry) {
  return entry.toObject().value(Keys::getListColumnNameEventlistId()).toVariant().toLongLong();
}

qint64 newestId(const QJsonArray& newestFirst) {
  return newestFirst.isEmpty() ? 0 : idOf(newestFirst.first());
}

QJsonArray oldestFirst(const QJsonArray& newestFirst, qint64 afterId) {
  QJsonArray result;
  for (int i = newestFirst.size() - 1; i >= 0; --i) {
    if (idOf(newestFirst.at(i)) > afterId) result.append(newestFirst.at(i));
  }
  return result;
}

/** The entries after `lastId`, as few as show them all. */
QJsonArray entriesAfter(ListClient& client, const QString& language, qint64& lastId) {
  constexpr quint32 kUsual = 100;
  QJsonArray list = entriesOf(client.events(language, kUsual));
  // Numbers start anew where a service without a database file does.
  if (!list.isEmpty() && newestId(list) < lastId) lastId = 0;
  if (list.size() == static_cast<int>(kUsual) && idOf(list.last()) > lastId + 1) {
    list = entriesOf(client.events(language, 0));
  }
  QJsonArray result = oldestFirst(list, lastId);
  lastId = qMax(lastId, newestId(list));
  return result;
}

/** Call `update` after each change of the list; a service that is gone for a while is waited for. */
template <class Update>
[[noreturn]] void follow(ListClient& client, const Update& update) {
  for (;;) {
    client.waitForChange();
    try {
      update();
    } catch (const NoService&) {
      std::fputs("tavroline-ctl: the list service is gone; waiting for it\n", stderr);
    }
  }
}

void showEvents(ListClient& client, const Arguments& arguments) {
  ListView view({Keys::getListColumnNameEventlistId(), Keys::getListColumnNameLocalTime(),
                 Keys::getListColumnNameEventType(), Keys::getListColumnNameIconType(),
                 Keys::getListColumnNameModuleName(), Keys::getListColumnNameUser(),
                 Keys::getListColumnNameDescription()},
                arguments.json);
  if (arguments.follow) client.subscribe(ListClient::List::Events);
  const QJsonArray list = entriesOf(client.events(arguments.language, arguments.count));
  if (!arguments.follow) {
    view.showAll(list);
    return;
  }
  view.showMore(oldestFirst(list, 0));
  qint64 lastId = newestId(list);
  follow(client, [&] { view.showMore(entriesAfter(client, arguments.language, lastId)); });
}

bool isWanted(const QJsonValue& alarm, const Arguments& arguments) {
  const auto passes = [&alarm](const std::optional<bool>& wanted, const QString& column) {
    return !wanted || alarm.toObject().value(column).toBool() == *wanted;
  };
  return passes(arguments.active, Keys::getListColumnNameAlarmActive()) &&
         passes(arguments.acknowledged, Keys::getListColumnNameAlarmAcknowledgment());
}

void showAlarms(ListClient& client, const Arguments& arguments) {
  ListView view({Keys::getListColumnNameLocalTime(), Keys::getListColumnNameEventType(),
                 Keys::getListColumnNameAlarmActive(), Keys::getListColumnNameAlarmAcknowledgment(),
                 Keys::getListColumnNameModuleName(), Keys::getListColumnNameAlarmID(),
                 Keys::getListColumnNameDescription()},
                arguments.json);
  const auto show = [&] {
    QJsonArray wanted;
    const QJsonArray list = entriesOf(client.alarms(arguments.language));
    std::copy_if(list.begin(), list.end(), std::back_inserter(wanted),
                 [&](const QJsonValue& alarm) { return isWanted(alarm, arguments); });
    view.showAll(wanted);
  };
  if (arguments.follow) client.subscribe(ListClient::List::Alarms);
  show();
  if (!arguments.follow) return;
  follow(client, [&show] {
    std::puts("");
    show();
  });
}

/** The service passes unknown identifiers over; a person who mistyped one wants to know. */
void acknowledge(ListClient& client, const Arguments& arguments) {
  const QJsonArray list = entriesOf(client.alarms(QString()));
  for (const QString& id : arguments.alarmIds) {
    const bool known = std::any_of(list.begin(), list.end(), [&id](const QJsonValue& alarm) {
      return alarm.toObject().value(Keys::getListColumnNameAlarmID()).toString() == id;
    });
    if (!known)
      throw ClientError("no alarm with the identifier " + id.toStdString() + "; nothing acknowledged");
  }
  client.acknowledgeAlarms(arguments.alarmIds, arguments.user);
}

void showStatistics(ListClient& client, const Arguments& arguments) {
  const QJsonObject statistics = client.statistics();
  if (arguments.json) {
    std::fputs(QJsonDocument(statistics).toJson().constData(), stdout);
    return;
  }
  for (auto row = statistics.begin(); row != statistics.end(); ++row) {
    const QString value = row->isBool() ? QLatin1String(row->toBool() ? "yes" : "no")
                                        : QString::number(row->toDouble(), 'f', 0);
    std::printf("%-14s%s\n", qUtf8Printable(row.key()), qUtf8Printable(value));
  }
}

}  // namespace

void runCommand(ListClient& client, const Arguments& arguments) {
  switch (arguments.command) {
    case Arguments::Command::Events:
      return showEvents(client, arguments);
    case Arguments::Command::DeleteEvents:
      return client.deleteEvents();
    case Arguments::Command::Alarms:
      return showAlarms(client, arguments);
    case Arguments::Command::Acknowledge:
      return acknowledge(client, arguments);
    case Arguments::Command::AcknowledgeDetector:
      return client.acknowledgeDetector(arguments.user);
    case Arguments::Command::Statistics:
      return showStatistics(client, arguments);
  }
}
