#include "Statistics.h"

#include <QDateTime>
#include <QJsonDocument>

#include <chrono>
#include <thread>

#include "ListView.h"
#include "TextTable.h"

namespace {

using Clock = std::chrono::steady_clock;

const QString kBooks = QStringLiteral("books");
const QString kSession = QStringLiteral("session");
const QString kReported = QStringLiteral("time");
const QString kRates = QStringLiteral("rates");

// What grows; the other figures are levels, of which a rate says nothing.
const QStringList kCounts{QStringLiteral("stored"),     QStringLiteral("overwritten"),
                          QStringLiteral("duplicates"), QStringLiteral("rejected"),
                          QStringLiteral("accepted"),   QStringLiteral("delivered")};

/** One reading: the counters, with an array of the clients' books among them. */
struct Reading {
  QJsonObject figures;
  Clock::time_point at;
};

Reading read(ListClient& client) {
  Reading reading{client.statistics(), Clock::now()};
  reading.figures.insert(kBooks, client.books());
  return reading;
}

/** Add to `now` what its counts have grown by per second since `before`. */
void addRates(QJsonObject& now, const QJsonObject& before, double seconds) {
  QJsonObject rates;
  for (const QString& name : kCounts) {
    if (now.contains(name) && before.contains(name)) {
      rates.insert(name, (now.value(name).toDouble() - before.value(name).toDouble()) / seconds);
    }
  }
  now.insert(kRates, rates);
}

void addRates(Reading& now, const Reading& before) {
  const double seconds = std::chrono::duration<double>(now.at - before.at).count();
  QJsonArray books;
  const QJsonArray present = now.figures.value(kBooks).toArray();
  const QJsonArray past = before.figures.value(kBooks).toArray();
  for (const QJsonValue value : present) {
    QJsonObject book = value.toObject();
    for (const QJsonValue earlier : past) {
      if (earlier.toObject().value(kSession) == book.value(kSession)) {
        addRates(book, earlier.toObject(), seconds);
      }
    }
    books.append(book);
  }
  addRates(now.figures, before.figures, seconds);
  now.figures.insert(kBooks, books);
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

/** What became of the messages of each client; a session's first characters tell it from the others. */
QByteArray bookTable(const QJsonArray& books, bool rates) {
  static const QStringList kShown{QStringLiteral("accepted"), QStringLiteral("delivered"),
                                  QStringLiteral("pending"),  QStringLiteral("superseded"),
                                  QStringLiteral("dropped"),  QStringLiteral("refused")};
  // 80 characters are enough for either of the two.
  QVector<TextTable::Column> columns{{QStringLiteral("SESSION"), 10},
                                     {rates ? QStringLiteral("DELIV./S") : QStringLiteral("REPORTED"), 0}};
  for (const QString& name : kShown) {
    columns.append({name.toUpper(), 0});
  }
  TextTable table(columns, Terminal::ofStandardOutput());
  for (const QJsonValue value : books) {
    const QJsonObject book = value.toObject();
    const auto reported =
        QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(book.value(kReported).toDouble()));
    QStringList row{book.value(kSession).toString(),
                    rates ? rate(book, kShown.at(1)) : reported.toString(QStringLiteral("HH:mm:ss"))};
    for (const QString& name : kShown) {
      row += figure(book.value(name));
    }
    const bool lost = book.value(kShown.at(4)).toDouble() + book.value(kShown.at(5)).toDouble() > 0;
    table.addRow(row, lost ? Terminal::Colour::Yellow : Terminal::Colour::None);
  }
  return table.takeUtf8();
}

void show(const Reading& reading, const Arguments& arguments) {
  if (arguments.json) {
    const auto format = arguments.follow ? QJsonDocument::Compact : QJsonDocument::Indented;
    printPiece(QJsonDocument(reading.figures).toJson(format) + (arguments.follow ? "\n" : ""));
    return;
  }
  const QJsonArray books = reading.figures.value(kBooks).toArray();
  printPiece(counterTable(reading.figures) +
             (books.isEmpty() ? QByteArray() : '\n' + bookTable(books, arguments.interval != 0)) +
             (arguments.follow ? "\n" : ""));
}

}  // namespace

void showStatistics(ListClient& client, const Arguments& arguments) {
  Reading before = read(client);
  if (arguments.interval == 0) {
    return show(before, arguments);
  }
  do {
    std::this_thread::sleep_for(std::chrono::seconds(arguments.interval));
    Reading now = read(client);
    const Reading plain = now;
    addRates(now, before);
    show(now, arguments);
    before = plain;
  } while (arguments.follow);
}
