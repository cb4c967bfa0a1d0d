#include <unistd.h>

#include <QDateTime>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
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

QString text(const std::string& utf8) {
  return QString::fromStdString(utf8);
}

/** Send an entry as a program would log it, with the present time. @param usual type unless the user says
 * another */
void send(ListClient& client, const Arguments& arguments, const char* usual, const QString& alarmId,
          int state) {
  const Arguments::Entry& entry = arguments.entry;
  const int type = ListClient::typeNames().indexOf(text(entry.type.empty() ? usual : entry.type));
  const QString icons[] = {Names::getIconNameAlarmOn(), Names::getIconNameAuditTrail(),
                           Names::getIconNameFaultOn(), Names::getIconNameEvent()};
  const QVariantMap description{{Keys::getEventDBusKeyModuleName(), text(entry.module)},
                                {Keys::getEventDBusKeyObjectName(), text(entry.text)}};
  QStringList keywords;
  std::transform(entry.keywords.begin(), entry.keywords.end(), std::back_inserter(keywords), text);
  Message message;
  message.entry(alarmId, state, type, QDateTime::currentMSecsSinceEpoch(),
                entry.icon.empty() ? icons[type] : text(entry.icon), text(entry.module), text(arguments.user),
                text(entry.text), keywords, description, Tavroline::MessageFormat::Kind::EntryByHand);
  client.send(message);
}

/** With --json, print what was done; without it only the exit code says so. */
void confirm(const Arguments& arguments, const char* done, const QJsonValue& what) {
  if (arguments.json) {
    Terminal::printJson(QJsonDocument(QJsonObject{{QLatin1String(done), what}}));
  }
}

/** The identifiers in the alarm list. */
QStringList listed(ListClient& client, bool activeOnly) {
  EntryFilter filter;
  filter.active = activeOnly ? std::optional<bool>(true) : std::nullopt;
  QStringList ids;
  for (const QJsonValue alarm : filter.passing(client.alarms({}))) {
    ids += alarm[QStringLiteral("id")].toString();
  }
  return ids;
}

/** The identifier in the list that equals `given`, or else the only one that begins with it, if `given` has
 * at least kShortest characters. Throws ClientError if no identifier begins with it, or several do. */
QString identifierOf(const QStringList& ids, const QString& given) {
  constexpr int kShortest = 9;
  if (ids.contains(given)) {
    return given;
  }
  const QRegularExpression start(QLatin1Char('^') + QRegularExpression::escape(given));
  const QStringList beginning = given.size() < kShortest ? QStringList() : ids.filter(start);
  if (beginning.size() == 1) {
    return beginning.first();
  }
  throw ClientError((beginning.isEmpty() ? "no such alarm: " : "several alarms begin with ") +
                    given.toStdString() + "; nothing changed");
}

/** The identifiers that the user named. All are checked first: the service ignores unknown ones. */
QStringList identifiers(ListClient& client, const Arguments& arguments, bool activeOnly) {
  const QStringList all = listed(client, activeOnly);
  QStringList ids;
  for (const std::string& given : arguments.alarmIds) {
    ids += identifierOf(all, text(given));
  }
  return ids;
}

}  // namespace

void Commands::log(const Arguments& arguments) {
  ListClient client;
  send(client, arguments, "audit", {}, Enums::StateNeutral);
  confirm(arguments, "logged", text(arguments.entry.text));
}

void Commands::acknowledge(const Arguments& arguments) {
  ListClient client;
  const QStringList ids = identifiers(client, arguments, false);
  Message message;
  message.acknowledgeAlarms(text(arguments.user), ids);
  client.send(message);
  confirm(arguments, "acknowledged", QJsonArray::fromStringList(ids));
}

void Commands::acknowledgeDetector(const Arguments& arguments) {
  ListClient client;
  Message message;
  message.acknowledgeDetector(text(arguments.user));
  client.send(message);
  confirm(arguments, "acknowledged", QStringLiteral("detector"));
}

void Commands::raise(const Arguments& arguments) {
  ListClient client;
  const QString id =
      arguments.alarmIds.empty() ? QUuid::createUuid().toString() : text(arguments.alarmIds[0]);
  if (listed(client, true).contains(id)) {
    throw ClientError("the alarm " + id.toStdString() + " is on already");
  }
  send(client, arguments, "alarm", id, Enums::StateOn);
  if (!arguments.json) {
    Terminal::print(id.toUtf8() + '\n');
  }
  confirm(arguments, "raised", id);
}

void Commands::clear(const Arguments& arguments) {
  ListClient client;
  const QStringList ids = identifiers(client, arguments, true);
  for (const QString& id : ids) {
    send(client, arguments, "alarm", id, Enums::StateOff);
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
  message.deleteEvents(text(arguments.user));
  client.send(message);
  confirm(arguments, "deleted", QStringLiteral("events"));
}
