#include "ListView.h"

#include <utility>

#include "EntryFilter.h"
#include "EventlistHandlerDefinitions.h"

namespace {

using Keys = EventlistHandlerDefinitions;

struct Column {
  TextTable::Column head;
  QString (*cell)(const QJsonObject& entry);
};

QString time(const QJsonObject& entry) {
  constexpr int kToTheSecond = 19;
  return entry.value(Keys::getListColumnNameLocalTime())
      .toString()
      .left(kToTheSecond)
      .replace(QLatin1Char('T'), QLatin1Char(' '));
}

QString type(const QJsonObject& entry) {
  const int number = entry.value(Keys::getListColumnNameEventType()).toInt();
  return EntryFilter::typeNames().value(number, QString::number(number));
}

bool isActive(const QJsonObject& alarm) {
  return alarm.value(Keys::getListColumnNameAlarmActive()).toBool();
}

QString state(const QJsonObject& alarm) {
  const bool acknowledged = alarm.value(Keys::getListColumnNameAlarmAcknowledgment()).toBool();
  return QLatin1String(isActive(alarm) ? "on" : "off") + QLatin1String(acknowledged ? ", ack" : "");
}

template <QString (*key)()>
QString text(const QJsonObject& entry) {
  return entry.value(key()).toVariant().toString();
}

const QVector<Column>& columnsOf(ListClient::List list) {
  static const QVector<Column> kEvents{
      {{QStringLiteral("ID")}, text<Keys::getListColumnNameEventlistId>},
      {{QStringLiteral("TIME")}, time},
      {{QStringLiteral("TYPE")}, type},
      {{QStringLiteral("MODULE"), 6}, text<Keys::getListColumnNameModuleName>},
      {{QStringLiteral("USER"), 6}, text<Keys::getListColumnNameUser>},
      {{QStringLiteral("DESCRIPTION"), 20}, text<Keys::getListColumnNameDescription>},
      {{QStringLiteral("ICON"), 4}, text<Keys::getListColumnNameIconType>}};
  static const QVector<Column> kAlarms{
      {{QStringLiteral("TIME")}, time},
      {{QStringLiteral("STATE")}, state},
      {{QStringLiteral("TYPE")}, type},
      {{QStringLiteral("MODULE"), 6}, text<Keys::getListColumnNameModuleName>},
      {{QStringLiteral("ID"), 10}, text<Keys::getListColumnNameAlarmID>},
      {{QStringLiteral("DESCRIPTION"), 20}, text<Keys::getListColumnNameDescription>}};
  return list == ListClient::List::Events ? kEvents : kAlarms;
}

TextTable tableOf(ListClient::List list) {
  QVector<TextTable::Column> heads;
  for (const Column& column : columnsOf(list)) {
    heads += column.head;
  }
  return {heads, Terminal::ofStandardOutput()};
}

Terminal::Colour colourOf(const QJsonObject& entry, ListClient::List list) {
  using Colour = Terminal::Colour;
  static const QVector<Colour> kColours{Colour::Red, Colour::Cyan, Colour::Yellow};  // by the type's number
  if (list == ListClient::List::Alarms && !isActive(entry)) {
    return Colour::None;
  }
  return kColours.value(entry.value(Keys::getListColumnNameEventType()).toInt(), Colour::None);
}

}  // namespace

ListView::ListView(ListClient::List list, bool json) : m_json(json), m_list(list), m_table(tableOf(list)) {}

void ListView::showAll(const QJsonArray& entries) {
  if (!m_json && m_shown) {
    Terminal::print("\n");
  }
  m_table = tableOf(m_list);
  show(entries);
}

void ListView::showMore(const QJsonArray& entries) {
  if (!entries.isEmpty()) {
    show(entries);
  }
}

void ListView::show(const QJsonArray& entries) {
  m_shown = true;
  if (!m_json) {
    return addRows(entries);
  }
  QJsonArray shown;
  for (const QJsonValue& entry : entries) {
    shown.append(json(entry.toObject()));
  }
  const bool events = m_list == ListClient::List::Events;
  Terminal::printJson(
      QJsonDocument(QJsonObject{{events ? QStringLiteral("events") : QStringLiteral("alarms"), shown}}));
}

QJsonObject ListView::json(const QJsonObject& entry) {
  static const std::pair<const char*, QString> kMembers[] = {
      {"id", Keys::getListColumnNameEventlistId()},
      {"id", Keys::getListColumnNameAlarmID()},
      {"active", Keys::getListColumnNameAlarmActive()},
      {"acknowledged", Keys::getListColumnNameAlarmAcknowledgment()},
      {"icon", Keys::getListColumnNameIconType()},
      {"module", Keys::getListColumnNameModuleName()},
      {"description", Keys::getListColumnNameDescription()},
      {"user", Keys::getListColumnNameUser()},
      {"keywords", Keys::getListColumnNameKeywords()}};
  QJsonObject json{{QStringLiteral("time"), EntryFilter::timeOf(entry).toString(Qt::ISODateWithMs)},
                   {QStringLiteral("type"), type(entry)}};
  for (const auto& [name, column] : kMembers) {
    if (entry.contains(column)) {
      json.insert(QLatin1String(name), entry.value(column));
    }
  }
  return json;
}

void ListView::addRows(const QJsonArray& entries) {
  for (const QJsonValue& value : entries) {
    const QJsonObject entry = value.toObject();
    QStringList row;
    for (const Column& column : columnsOf(m_list)) {
      row += column.cell(entry);
    }
    m_table.addRow(row, colourOf(entry, m_list));
  }
  Terminal::print(m_table.takeUtf8());
}
