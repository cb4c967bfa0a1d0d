#include "Commands.h"

#include <sys/timex.h>

#include <QDateTime>
#include <QJsonDocument>

#include <optional>
#include <utility>

#include "Terminal.h"

namespace {

using Client = std::optional<ListClient>;

/** Returns the finding if all is well, throws ClientError with fault and remedy if not. */
using Check = QString (*)(Client& client);

QString examineBus(Client& client) {
  client.emplace();
  return client->address();
}

QString examineService(Client& client) {
  const QString name = QLatin1String(Tavroline::ListServiceNames::kService);
  if (client->isRunning()) {
    return name + QStringLiteral(" runs");
  }
  if (client->isActivatable()) {
    return name + QStringLiteral(" does not run, the bus starts it with the next call");
  }
  throw ClientError("no list service: no connection owns " + name.toStdString() +
                    ": start tavroline-listd on this bus");
}

/** Calls all three interfaces; an error says which one is missing or forbidden. */
QString examinePolicy(Client& client) {
  client->statistics();
  return client->mayCall(kMessageInterface, "Send")
             ? QStringLiteral("this user may read and change both lists")
             : QStringLiteral(
                   "this user may read both lists, not change them: for that, join the group that the"
                   " bus's policy allows to");
}

/** The service's interfaces have answered. Some of its clients may be of an older version. */
QString examineVersion(Client& client) {
  const int others = client->statistics().value(QStringLiteral("otherVersion")).toInt();
  if (others > 0) {
    throw ClientError(std::to_string(others) +
                      " connected programs of an older version call the service and get nothing stored; its"
                      " standard error names them: update them");
  }
  const QStringList names{QLatin1String(kEventInterface.name), QLatin1String(kAlarmInterface.name),
                          QLatin1String(kMessageInterface.name)};
  return names.join(QStringLiteral(", "));
}

/** Damaged entries are left out of the lists. */
QString examineEvents(Client& client) {
  client->events({}, 0);
  const int unreadable = client->statistics().value(QStringLiteral("unreadable")).toInt();
  if (unreadable > 0) {
    throw ClientError(std::to_string(unreadable) +
                      " entries of the event list are damaged and not shown: restore the service's database"
                      " from a copy");
  }
  return QStringLiteral("every entry can be read");
}

/** Lists are read and filtered in local time. */
QString examineTimeZone(Client& client) {
  const auto shown = [](int seconds) {
    return QDateTime(QDate(1970, 1, 1), QTime(0, 0), Qt::OffsetFromUTC, seconds)
        .timeZoneAbbreviation()
        .toStdString();
  };
  const int ours = QDateTime::currentDateTime().offsetFromUtc();
  if (client->ahead() != 0) {
    throw ClientError("the service's local time is " + shown(ours + client->ahead()) +
                      ", this program's is " + shown(ours) +
                      ": programs that filter by time need the service's time zone, see TZ");
  }
  return QString::fromStdString(shown(ours));
}

/** Entries without a time stamp get the time of this clock. */
QString examineClock(Client& /*client*/) {
  const QDateTime now = QDateTime::currentDateTime();
  // This program is from 2026; a DATE_AND_TIME of the PLC overflows in 2106.
  if (now.date().year() < 2026 || now.date().year() >= 2106) {
    throw ClientError("the clock says " + now.toString(Qt::ISODate).toStdString() + ": set it");
  }
  timex state{};
  const bool synchronised = adjtimex(&state) != TIME_ERROR;
  return now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate) +
         QLatin1String(synchronised ? ", synchronised" : ", not synchronised with any time source");
}

constexpr std::pair<const char*, Check> kChecks[] = {
    {"bus", examineBus},           {"service", examineService}, {"policy", examinePolicy},
    {"interface", examineVersion}, {"events", examineEvents},   {"time zone", examineTimeZone},
    {"clock", examineClock}};

}  // namespace

void Commands::diagnose(const Arguments& arguments) {
  const Terminal terminal = Terminal::ofStandardOutput();
  QJsonArray document;
  QByteArray lines;
  Client client;
  bool allWell = true;
  for (const auto& [name, examine] : kChecks) {
    // Each check needs those before it, but for that of the clock.
    bool well = allWell || examine == examineClock;
    QString text = QStringLiteral("not examined, because of a line above");
    try {
      text = well ? examine(client) : text;
    } catch (const ClientError& error) {
      well = false;
      text = QString::fromUtf8(error.what());
    }
    allWell = allWell && well;
    document.append(QJsonObject{{QStringLiteral("check"), QLatin1String(name)},
                                {QStringLiteral("ok"), well},
                                {QStringLiteral("text"), text}});
    // Never cut: the remedy is at the end.
    const QString line = QStringLiteral("%1  %2  %3")
                             .arg(QLatin1String(name), -9)
                             .arg(QLatin1String(well ? "OK" : "BAD"), -3)
                             .arg(text);
    lines += terminal.coloured(line.toUtf8(), well ? Terminal::Colour::None : Terminal::Colour::Red) + '\n';
  }
  arguments.json ? Terminal::printJson(QJsonDocument(document)) : Terminal::print(lines);
  if (!allWell) {
    throw ClientError("not everything is well");
  }
}
