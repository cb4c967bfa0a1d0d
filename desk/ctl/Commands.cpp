#include "Commands.h"

#include <QJsonDocument>

#include "Doctor.h"
#include "EventlistHandlerDefinitions.h"
#include "ListCommands.h"
#include "ListView.h"
#include "Statistics.h"

namespace {

/** What a change reports where JSON is wanted; otherwise silence means done. */
void confirm(const Arguments& arguments, const QString& done, const QJsonValue& what) {
  if (arguments.json) {
    printPiece(QJsonDocument(QJsonObject{{done, what}}).toJson());
  }
}

/** The one identifier in the list that is meant: the whole of it, or its beginning as a table shows it. */
QString identifierOf(const QJsonArray& list, const QString& given) {
  constexpr int kShortest = 9;
  QStringList beginning;
  for (const QJsonValue& alarm : list) {
    QString id = alarm.toObject().value(EventlistHandlerDefinitions::getListColumnNameAlarmID()).toString();
    if (id == given) {
      return id;
    }
    if (given.size() >= kShortest && id.startsWith(given)) {
      beginning += id;
    }
  }
  if (beginning.size() == 1) {
    return beginning.first();
  }
  throw ClientError((beginning.isEmpty() ? "no alarm with the identifier " : "several alarms begin with ") +
                    given.toStdString() + "; nothing acknowledged");
}

/** The service passes unknown identifiers over; a person who mistyped one wants to know. */
void acknowledge(ListClient& client, const Arguments& arguments) {
  const QJsonArray list = entriesOf(client.alarms(QString()));
  QStringList ids;
  for (const QString& given : arguments.alarmIds) {
    ids += identifierOf(list, given);
  }
  client.acknowledgeAlarms(ids, arguments.user);
  confirm(arguments, QStringLiteral("acknowledged"), QJsonArray::fromStringList(ids));
}

}  // namespace

void runCommand(const Arguments& arguments) {
  // The doctor has to find out whether there is a bus at all.
  if (arguments.command == Arguments::Command::Doctor) {
    return Doctor::examine(arguments.json);
  }
  ListClient client;
  switch (arguments.command) {
    case Arguments::Command::Events:
      return showEvents(client, arguments);
    case Arguments::Command::Alarms:
      return showAlarms(client, arguments);
    case Arguments::Command::DeleteEvents:
      client.deleteEvents();
      return confirm(arguments, QStringLiteral("deleted"), QStringLiteral("events"));
    case Arguments::Command::Acknowledge:
      return acknowledge(client, arguments);
    case Arguments::Command::AcknowledgeDetector:
      client.acknowledgeDetector(arguments.user);
      return confirm(arguments, QStringLiteral("acknowledged"), QStringLiteral("detector"));
    case Arguments::Command::Statistics:
      return showStatistics(client, arguments);
    case Arguments::Command::Doctor:
      return;
  }
}
