#include "Commands.h"

#include <pwd.h>

#include <QDateTime>

#include <chrono>
#include <optional>

#include "Follow.h"
#include "Terminal.h"

namespace {

using Clock = std::chrono::steady_clock;

const QString kClients = QStringLiteral("books");  // scripts of users read this name
const QString kProgram = QStringLiteral("program");
const QString kUser = QStringLiteral("user");
const QString kReported = QStringLiteral("time");
const QString kRates = QStringLiteral("rates");

// Counts, which have a rate; the other figures are levels.
const QStringList kCounts{QStringLiteral("stored"),     QStringLiteral("overwritten"),
                          QStringLiteral("duplicates"), QStringLiteral("rejected"),
                          QStringLiteral("accepted"),   QStringLiteral("delivered")};

/** One reading of the service's counters, and the array of its clients' message counters among them. */
struct Reading {
  QJsonObject figures;
  Clock::time_point at;
};

Reading read(ListClient& client) {
  Reading reading{client.statistics(), Clock::now()};
  reading.figures.insert(kClients, client.clientCounters());
  return reading;
}

/** Add to `now` the growth of its counts per second since `before`. */
void addRates(QJsonObject& now, const QJsonObject& before, double seconds) {
  QJsonObject rates;
  for (const QString& name : kCounts) {
    const double growth = now.value(name).toDouble() - before.value(name).toDouble();
    if (now.contains(name) && before.contains(name) && growth >= 0) {  // a restarted service begins with 0
      rates.insert(name, growth / seconds);
    }
  }
  now.insert(kRates, rates);
}

void addRates(Reading& now, const Reading& before) {
  const double seconds = std::chrono::duration<double>(now.at - before.at).count();
  QJsonArray clients;
  const QJsonArray present = now.figures.value(kClients).toArray();
  const QJsonArray past = before.figures.value(kClients).toArray();
  for (const QJsonValue value : present) {
    QJsonObject client = value.toObject();
    for (const QJsonValue earlier : past) {
      const QJsonObject other = earlier.toObject();
      if (other.value(kProgram) == client.value(kProgram) && other.value(kUser) == client.value(kUser)) {
        addRates(client, earlier.toObject(), seconds);
      }
    }
    clients.append(client);
  }
  addRates(now.figures, before.figures, seconds);
  now.figures.insert(kClients, clients);
}

QString figure(const QJsonValue& value) {
  if (value.isBool()) {
    return QLatin1String(value.toBool() ? "yes" : "no");
  }
  return QString::number(value.toDouble(), 'f', 0);
}

QString rate(const QJsonObject& figures, const QString& name) {
  const QJsonValue value = figures.value(kRates).toObject().value(name);
  return value.isDouble() ? QString::number(value.toDouble(), 'f', 1) : QString();
}

QByteArray counterTable(const QJsonObject& figures) {
  TextTable table({{QStringLiteral("COUNTER")}, {QStringLiteral("VALUE")}, {QStringLiteral("PER SECOND")}},
                  Terminal::ofStandardOutput());
  for (auto row = figures.begin(); row != figures.end(); ++row) {
    if (!row->isArray() && !row->isObject()) {
      table.addRow({row.key(), figure(*row), rate(figures, row.key())});
    }
  }
  return table.takeUtf8();
}

QString userName(const QJsonValue& user) {
  const passwd* const entry = user.toInt() < 0 ? nullptr : getpwuid(static_cast<uid_t>(user.toInt()));
  return entry != nullptr ? QString::fromUtf8(entry->pw_name) : figure(user);
}

/** The message counters of each client. */
QByteArray clientTable(const QJsonArray& clients, bool rates) {
  static const QStringList kShown{QStringLiteral("accepted"), QStringLiteral("delivered"),
                                  QStringLiteral("pending"),  QStringLiteral("superseded"),
                                  QStringLiteral("dropped"),  QStringLiteral("refused")};
  // Either of the two tables fits into 80 characters.
  QVector<TextTable::Column> columns{{QStringLiteral("PROGRAM"), 10},
                                     {rates ? QStringLiteral("DELIV./S") : QStringLiteral("REPORTED"), 0}};
  for (const QString& name : kShown) {
    columns.append({name.toUpper(), 0});
  }
  TextTable table(columns, Terminal::ofStandardOutput());
  for (const QJsonValue value : clients) {
    const QJsonObject client = value.toObject();
    const auto reported = QDateTime::fromString(client.value(kReported).toString(), Qt::ISODateWithMs);
    QStringList row{client.value(kProgram).toString() + QStringLiteral(" (") + userName(client.value(kUser)) +
                        QLatin1Char(')'),
                    rates ? rate(client, kShown.at(1)) : reported.toString(QStringLiteral("HH:mm:ss"))};
    for (const QString& name : kShown) {
      row += figure(client.value(name));
    }
    const bool lost = client.value(kShown.at(4)).toDouble() + client.value(kShown.at(5)).toDouble() > 0;
    table.addRow(row, lost ? Terminal::Colour::Yellow : Terminal::Colour::None);
  }
  return table.takeUtf8();
}

void show(const Reading& reading, const Arguments& arguments) {
  if (arguments.json) {
    return Terminal::printJson(QJsonDocument(reading.figures));
  }
  const QJsonArray clients = reading.figures.value(kClients).toArray();
  Terminal::print(counterTable(reading.figures) +
                  (clients.isEmpty() ? QByteArray() : '\n' + clientTable(clients, arguments.interval != 0)) +
                  (arguments.follow ? "\n" : ""));
}

}  // namespace

void Commands::showStatistics(const Arguments& arguments) {
  std::optional<Reading> before;
  const auto update = [&](ListClient& client) {
    Reading now = read(client);
    const Reading plain = now;
    if (before) {
      addRates(now, *before);
    }
    if (before || arguments.interval == 0) {
      show(now, arguments);
    }
    before = plain;
  };
  if (arguments.follow) {
    Follow::interval(arguments.interval, update);
  }
  ListClient client;
  update(client);
  if (arguments.interval != 0) {
    Terminal::wait(static_cast<int>(arguments.interval) * 1000);
    update(client);
  }
}
