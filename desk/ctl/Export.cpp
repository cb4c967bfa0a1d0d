#include <QJsonDocument>
#include <QSysInfo>
#include <QtEndian>

#include <algorithm>

#include "Commands.h"
#include "EventPages.h"
#include "Follow.h"
#include "Terminal.h"

namespace {

const QStringList kNames{QStringLiteral("cursor"),      QStringLiteral("time"),    QStringLiteral("type"),
                         QStringLiteral("icon"),        QStringLiteral("module"),  QStringLiteral("user"),
                         QStringLiteral("description"), QStringLiteral("keywords")};

/** Each text in quotes; the keywords as a JSON array. */
QByteArray csvLine(const QJsonObject& entry) {
  QByteArray line;
  for (const QString& name : kNames) {
    const QJsonValue value = entry.value(name);
    const QJsonDocument list(value.toArray());
    QByteArray cell = value.isArray() ? list.toJson(QJsonDocument::Compact) : value.toString().toUtf8();
    line += (line.isEmpty() ? "\"" : ",\"") + cell.replace('"', "\"\"") + '"';
  }
  return line + '\n';
}

/** A field of the Journal Export Format: NAME=text, or NAME, a size of 64 bits and any bytes. */
QByteArray journalField(const QByteArray& name, const QByteArray& value) {
  if (std::none_of(value.begin(), value.end(), [](char byte) { return byte >= 0 && byte < ' '; })) {
    return name + '=' + value + '\n';
  }
  char size[sizeof(quint64)];
  qToLittleEndian(static_cast<quint64>(value.size()), size);
  return name + '\n' + QByteArray(size, sizeof size) + value + '\n';
}

/** Each text as a field and each keyword as one of its own. A journal drops names that begin with "__". */
QByteArray journalEntry(const QJsonObject& entry) {
  constexpr int kPriorities[] = {3, 5, 4, 6};  // by the type's number
  const int type = ListClient::typeNames().indexOf(entry.value(QStringLiteral("type")).toString());
  const auto time = QDateTime::fromString(entry.value(QStringLiteral("time")).toString(), Qt::ISODateWithMs);
  const qint64 microseconds = qMax<qint64>(1, 1000 * time.toMSecsSinceEpoch());  // a journal refuses 0
  QByteArray fields = journalField("__REALTIME_TIMESTAMP", QByteArray::number(microseconds)) +
                      journalField("_HOSTNAME", QSysInfo::machineHostName().toUtf8()) +
                      journalField("SYSLOG_IDENTIFIER", "tavroline") +
                      journalField("PRIORITY", QByteArray::number(type < 0 ? 6 : kPriorities[type]));
  for (const QString& name : kNames) {
    const QJsonValue value = entry.value(name);
    const bool message = name == QLatin1String("description");
    for (const QJsonValue text : value.isArray() ? value.toArray() : QJsonArray{value}) {
      fields += journalField(message ? "MESSAGE" : "TAVROLINE_" + name.toUpper().toLatin1(),
                             text.toString().toUtf8());
    }
  }
  return fields + '\n';
}

/** Throws std::invalid_argument. */
Cursor cursorOf(const std::string& text) {
  Cursor cursor;
  char rest = 0;
  if (!text.empty() && std::sscanf(text.c_str(), "%llu:%lld%c", &cursor.epoch, &cursor.number, &rest) != 2) {
    throw std::invalid_argument("--after: '" + text + "' is no cursor of an exported entry");
  }
  return cursor;
}

}  // namespace

void Commands::exportEvents(const Arguments& arguments) {
  const bool csv = arguments.format == "csv";
  const bool journal = arguments.format == "journal";
  const Cursor after = cursorOf(arguments.after);
  EventPages pages(arguments.language, after);
  const auto write = [&](quint64 epoch, const QJsonArray& entries) {
    QByteArray text;
    for (const QJsonValue value : entries) {
      QJsonObject entry = value.toObject();
      const auto number = static_cast<qint64>(entry.take(QStringLiteral("id")).toDouble());
      entry.insert(kNames.first(), QStringLiteral("%1:%2").arg(epoch).arg(number));
      text += csv       ? csvLine(entry)
              : journal ? journalEntry(entry)
                        : QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n';
    }
    Terminal::print(text);
  };
  const auto read = [&](ListClient& client) { pages.read(client, write); };
  if (csv && after.epoch == 0) {
    Terminal::print(kNames.join(QLatin1Char(',')).toUtf8() + '\n');
  }
  if (arguments.follow) {
    Follow::changes(ListClient::List::Events, read);
  }
  ListClient client;
  read(client);
}
