#include "Commands.h"

#include <sys/timex.h>

#include <QDateTime>
#include <QJsonDocument>
#include <QRegularExpression>

#include <functional>
#include <optional>
#include <tuple>

#include "Terminal.h"

namespace {

using Client = ListClient;

/** Returns the finding if all is well, else throws ClientError with fault and remedy. */
using Check = std::function<QString()>;

struct Finding {
  const char* name;
  bool well;
  QString text;
};

QString examineService(Client& client) {
  const QString owner = client.owner();
  if (owner.isEmpty() && client.isActivatable()) {
    return QStringLiteral("%1 does not run, the bus starts it with the next call")
        .arg(QLatin1String(Tavroline::ListServiceNames::kService));
  }
  if (owner.isEmpty()) {
    throw ClientError("no list service: no connection owns " +
                      std::string(Tavroline::ListServiceNames::kService) +
                      ": start tavroline-listd on this bus");
  }
  return QStringLiteral("%1 is owned by %2").arg(QLatin1String(Tavroline::ListServiceNames::kService), owner);
}

/** The interfaces of the service's objects; an older service lacks one of the objects. */
QStringList interfacesOf(Client& client) {
  static const QRegularExpression offered(
      QStringLiteral("<interface name=\"(org\\.tavroline\\.[A-Za-z]+[0-9]+)\""));
  QStringList found;
  for (const char* path : {kEventInterface.path, kAlarmInterface.path, kMessageInterface.path}) {
    auto match = offered.globalMatch(client.introspect(path));
    while (match.hasNext()) {
      found += match.next().captured(1);
    }
  }
  return found;
}

/** The digits at the end of an interface's name are its version. */
QString examineVersion(Client& client) {
  const QStringList spoken{QLatin1String(kEventInterface.name), QLatin1String(kAlarmInterface.name),
                           QLatin1String(kMessageInterface.name)};
  const QStringList found = interfacesOf(client);
  QString names = found.join(QStringLiteral(", "));
  if (found != spoken) {
    throw ClientError("the service offers " + names.toStdString() + ", this program speaks " +
                      spoken.join(QStringLiteral(", ")).toStdString() + ": use programs of the same version");
  }
  const int others = client.statistics().value(QStringLiteral("otherVersion")).toInt();
  if (others > 0) {
    throw ClientError(std::to_string(others) +
                      " connected programs of an older version call the service and get nothing stored; its"
                      " standard error names them: update them");
  }
  return names;
}

/** Damaged entries are left out of the lists. */
QString examineEvents(Client& client) {
  client.events(QString(), 0);
  const int unreadable = client.statistics().value(QStringLiteral("unreadable")).toInt();
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
    return QDateTime(QDate(1970, 1, 1), QTime(0, 0), Qt::OffsetFromUTC, seconds).timeZoneAbbreviation();
  };
  const int theirs = client.timeZone();
  const int ours = QDateTime::currentDateTime().offsetFromUtc();
  if (theirs != ours) {
    throw ClientError("the service's local time is " + shown(theirs).toStdString() + ", this program's is " +
                      shown(ours).toStdString() +
                      ": programs that filter by time need the service's time zone, see TZ");
  }
  return shown(ours);
}

QString examinePolicy(Client& client) {
  const std::tuple<BusInterface, const char*, const char*> calls[] = {
      {kEventInterface, "GetState", "read the event list"},
      {kAlarmInterface, "GetState", "read the alarm list"}};
  for (const auto& [interface, method, meaning] : calls) {
    if (!client.mayCall(interface, method)) {
      throw ClientError("the bus forbids this user to " + std::string(meaning) +
                        ": join the group that its policy allows, or allow the service's interfaces there");
    }
  }
  return client.mayCall(kMessageInterface, "Send")
             ? QStringLiteral("this user may read and change both lists")
             : QStringLiteral(
                   "this user may read both lists, not change them: for that, join the group that the"
                   " bus's policy allows to");
}

/** Entries without a time stamp get the time of this clock. */
QString examineClock() {
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

std::vector<Finding> examineAll() {
  std::optional<ListClient> client;
  const std::pair<const char*, Check> checks[] = {
      {"bus",
       [&client] {
         client.emplace();
         return client->address();
       }},
      {"service", [&client] { return examineService(*client); }},
      {"policy", [&client] { return examinePolicy(*client); }},
      {"interface", [&client] { return examineVersion(*client); }},
      {"events", [&client] { return examineEvents(*client); }},
      {"time zone", [&client] { return examineTimeZone(*client); }},
      {"clock", examineClock}};
  std::vector<Finding> findings;
  // Each of these checks needs the one before it, but for the last.
  for (const auto& [name, check] : checks) {
    const bool possible =
        findings.empty() || findings.back().well || findings.size() + 1 == std::size(checks);
    Finding finding{name, possible, QStringLiteral("not examined, because of the line above")};
    try {
      if (possible) {
        finding.text = check();
      }
    } catch (const Forbidden&) {  // only introspect() throws it: mayCall() returns false instead
      finding.well = false;
      finding.text = QStringLiteral(
          "the bus forbids this user to query the service's interfaces: allow "
          "org.freedesktop.DBus.Introspectable");
    } catch (const ClientError& error) {
      finding.well = false;
      finding.text = QString::fromUtf8(error.what());
    }
    findings.push_back(finding);
  }
  return findings;
}

}  // namespace

void Commands::diagnose(const Arguments& arguments) {
  bool well = true;
  QJsonArray document;
  const Terminal terminal = Terminal::ofStandardOutput();
  QByteArray lines;
  for (const Finding& finding : examineAll()) {
    well = well && finding.well;
    document.append(QJsonObject{{QStringLiteral("check"), QLatin1String(finding.name)},
                                {QStringLiteral("ok"), finding.well},
                                {QStringLiteral("text"), finding.text}});
    // Never cut: the remedy is at the end.
    const QString line = QStringLiteral("%1  %2  %3")
                             .arg(QLatin1String(finding.name), -9)
                             .arg(QLatin1String(finding.well ? "OK" : "BAD"), -3)
                             .arg(finding.text);
    lines += terminal.coloured(line.toUtf8(), finding.well ? Terminal::Colour::None : Terminal::Colour::Red) +
             '\n';
  }
  arguments.json ? Terminal::printJson(QJsonDocument(document)) : Terminal::print(lines);
  if (!well) {
    throw ClientError("not everything is well");
  }
}
