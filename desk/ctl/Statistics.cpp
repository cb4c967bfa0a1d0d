#include "Commands.h"

#include <pwd.h>

#include <QElapsedTimer>

#include <algorithm>

#include "Follow.h"
#include "TextTable.h"

namespace {

const QString kClients = QStringLiteral("books");  // scripts of users read this name
const QString kProgram = QStringLiteral("program");
const QString kUser = QStringLiteral("user");
const QString kRates = QStringLiteral("rates");

// Counts, which have a rate; the other figures are levels.
const QStringList kCounts{QStringLiteral("stored"),     QStringLiteral("overwritten"),
                          QStringLiteral("duplicates"), QStringLiteral("rejected"),
                          QStringLiteral("accepted"),   QStringLiteral("delivered")};

/** The service's counters, and the array of its clients' message counters among them. */
QJsonObject read(ListClient& client) {
  QJsonObject figures = client.statistics();
  figures.insert(kClients, client.clientCounters());
  return figures;
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

/** Add the rates of the service and of each client that was there before. */
QJsonObject withRates(QJsonObject now, const QJsonObject& before, double seconds) {
  const QJsonArray past = before.value(kClients).toArray();
  QJsonArray clients;
  for (const QJsonValue value : now.value(kClients).toArray()) {
    QJsonObject client = value.toObject();
    const auto earlier = std::find_if(past.begin(), past.end(), [&client](const QJsonValue& other) {
      return other[kProgram] == client.value(kProgram) && other[kUser] == client.value(kUser);
    });
    if (earlier != past.end()) {
      addRates(client, (*earlier).toObject(), seconds);
    }
    clients.append(client);
  }
  addRates(now, before, seconds);
  now.insert(kClients, clients);
  return now;
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
  TextTable table({{QStringLiteral("COUNTER")}, {QStringLiteral("VALUE")}, {QStringLiteral("PER SECOND")}});
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
                                     {rates ? QStringLiteral("DELIV./S") : QStringLiteral("REPORTED")}};
  for (const QString& name : kShown) {
    columns.append({name.toUpper()});
  }
  TextTable table(columns);
  for (const QJsonValue client : clients) {
    const QString program = client[kProgram].toString();
    const QString clock = client[QStringLiteral("time")].toString().mid(11, 8);
    QStringList row{program + QStringLiteral(" (") + userName(client[kUser]) + QLatin1Char(')'),
                    rates ? rate(client.toObject(), QStringLiteral("delivered")) : clock};
    for (const QString& name : kShown) {
      row += figure(client[name]);
    }
    const bool lost =
        client[QStringLiteral("dropped")].toDouble() + client[QStringLiteral("refused")].toDouble() > 0;
    table.addRow(row, lost ? Terminal::Colour::Yellow : Terminal::Colour::None);
  }
  return table.takeUtf8();
}

void show(const QJsonObject& figures, const Arguments& arguments) {
  if (arguments.json) {
    return Terminal::printJson(QJsonDocument(figures));
  }
  const QJsonArray clients = figures.value(kClients).toArray();
  Terminal::print(counterTable(figures) +
                  (clients.isEmpty() ? QByteArray() : '\n' + clientTable(clients, arguments.interval != 0)) +
                  (arguments.follow ? "\n" : ""));
}

}  // namespace

void Commands::showStatistics(const Arguments& arguments) {
  QJsonObject before;
  QElapsedTimer timer;
  timer.start();
  const auto update = [&](ListClient& client) {
    const QJsonObject now = read(client);
    const double seconds = static_cast<double>(timer.restart()) / 1000;
    if (arguments.interval == 0) {
      show(now, arguments);
    } else if (!before.isEmpty()) {
      show(withRates(now, before, seconds), arguments);
    }
    before = now;
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
