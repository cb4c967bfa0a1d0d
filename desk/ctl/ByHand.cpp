#include <unistd.h>

#include <QDateTime>
#include <QUuid>

#include <iostream>
#include <string>

#include "Commands.h"
#include "EventlistHandlerDefinitions.h"
#include "EventlistHandlerEnums.h"
#include "EventsDBusDefinitions.h"
#include "Terminal.h"

namespace {

using Names = EventlistHandlerDefinitions;
using Enums = EventlistHandlerEnums;
using Keys = EventsDBusDefinitions;
using Message = Tavroline::MessageWriter;

/** Send an entry as a program would log it, with the present time. @param type unless the user says another
 */
void send(ListClient& client, const Arguments& arguments, int type, const QString& alarmId, int state) {
  const Arguments::Entry& entry = arguments.entry;
  type = entry.types.value(0, type);
  const QString icons[] = {Names::getIconNameAlarmOn(), Names::getIconNameAuditTrail(),
                           Names::getIconNameFaultOn(), Names::getIconNameEvent()};
  const QVariantMap description{{Keys::getEventDBusKeyModuleName(), entry.module},
                                {Keys::getEventDBusKeyObjectName(), entry.text}};
  Message message;
  message.entry(alarmId, state, type, QDateTime::currentMSecsSinceEpoch(),
                entry.icon.isEmpty() ? icons[type] : entry.icon, entry.module, arguments.user, entry.text,
                entry.keywords, description, Tavroline::MessageFormat::Kind::EntryByHand);
  client.send(message);
}

/** With --json, print what was done; without it only the exit code says so. */
void confirm(const Arguments& arguments, const char* done, const QJsonValue& what) {
  if (arguments.json) {
    Terminal::printJson(QJsonDocument(QJsonObject{{QLatin1String(done), what}}));
  }
}

QString idOf(const QJsonValue& alarm) {
  return alarm.toObject().value(Names::getListColumnNameAlarmID()).toString();
}

bool isActive(const QJsonValue& alarm) {
  return alarm.toObject().value(Names::getListColumnNameAlarmActive()).toBool();
}

/** The identifier in the list that equals `given`, or else the only one that begins with it, if `given` has
 * at least kShortest characters. Throws ClientError if no identifier begins with it, or several do. */
QString identifierOf(const QJsonArray& list, const QString& given) {
  constexpr int kShortest = 9;
  QStringList beginning;
  for (const QJsonValue& alarm : list) {
    QString id = idOf(alarm);
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
  throw ClientError((beginning.isEmpty() ? "no such alarm: " : "several alarms begin with ") +
                    given.toStdString() + "; nothing changed");
}

/** The alarm list, only the active ones if asked. */
QJsonArray alarmList(ListClient& client, bool activeOnly) {
  QJsonArray alarms;
  for (const QJsonValue alarm : Commands::entriesOf(client.alarms(QString()))) {
    if (!activeOnly || isActive(alarm)) {
      alarms.append(alarm);
    }
  }
  return alarms;
}

/** The identifiers that the user named. All are checked first: the service ignores unknown ones. */
QStringList identifiers(ListClient& client, const Arguments& arguments, bool activeOnly) {
  const QJsonArray alarms = alarmList(client, activeOnly);
  QStringList ids;
  for (const QString& given : arguments.alarmIds) {
    ids += identifierOf(alarms, given);
  }
  return ids;
}

}  // namespace

void Commands::log(const Arguments& arguments) {
  ListClient client;
  send(client, arguments, Enums::EventTypeAuditTrail, {}, Enums::StateNeutral);
  confirm(arguments, "logged", arguments.entry.text);
}

void Commands::acknowledge(const Arguments& arguments) {
  ListClient client;
  const QStringList ids = identifiers(client, arguments, false);
  Message message;
  message.acknowledgeAlarms(arguments.user, ids);
  client.send(message);
  confirm(arguments, "acknowledged", QJsonArray::fromStringList(ids));
}

void Commands::acknowledgeDetector(const Arguments& arguments) {
  ListClient client;
  Message message;
  message.acknowledgeDetector(arguments.user);
  client.send(message);
  confirm(arguments, "acknowledged", QStringLiteral("detector"));
}

void Commands::raise(const Arguments& arguments) {
  ListClient client;
  const QString id = arguments.alarmIds.value(0, QUuid::createUuid().toString());
  for (const QJsonValue alarm : alarmList(client, true)) {
    if (idOf(alarm) == id) {
      throw ClientError("the alarm " + id.toStdString() + " is on already");
    }
  }
  send(client, arguments, Enums::EventTypeAlarm, id, Enums::StateOn);
  if (!arguments.json) {
    Terminal::print(id.toUtf8() + '\n');
  }
  confirm(arguments, "raised", id);
}

void Commands::clear(const Arguments& arguments) {
  ListClient client;
  const QStringList ids = identifiers(client, arguments, true);
  for (const QString& id : ids) {
    send(client, arguments, Enums::EventTypeAlarm, id, Enums::StateOff);
  }
  confirm(arguments, "cleared", QJsonArray::fromStringList(ids));
}

void Commands::deleteEvents(const Arguments& arguments) {
  ListClient client;
  if (!arguments.yes && isatty(STDIN_FILENO) != 0) {
    std::cerr << "Delete the event list with its "
              << client.statistics().value(QStringLiteral("entries")).toInt() << " entries? [y/N] ";
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "yes") {
      throw ClientError("nothing deleted");
    }
  }
  Message message;
  message.deleteEvents(arguments.user);
  client.send(message);
  confirm(arguments, "deleted", QStringLiteral("events"));
}
