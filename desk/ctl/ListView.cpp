#include "ListView.h"

namespace {

/** A column shows the member with its title's name in small letters. */
const QVector<TextTable::Column>& columnsOf(ListClient::List list) {
  static const QVector<TextTable::Column> kEvents{
      {QStringLiteral("ID")},        {QStringLiteral("TIME")},    {QStringLiteral("TYPE")},
      {QStringLiteral("MODULE"), 6}, {QStringLiteral("USER"), 6}, {QStringLiteral("DESCRIPTION"), 20},
      {QStringLiteral("ICON"), 4}};
  static const QVector<TextTable::Column> kAlarms{
      {QStringLiteral("TIME")},      {QStringLiteral("STATE")},  {QStringLiteral("TYPE")},
      {QStringLiteral("MODULE"), 6}, {QStringLiteral("ID"), 10}, {QStringLiteral("DESCRIPTION"), 20}};
  return list == ListClient::List::Events ? kEvents : kAlarms;
}

QString cell(const QJsonObject& entry, const QString& title) {
  if (title == QLatin1String("STATE")) {
    return QLatin1String(entry.value(QStringLiteral("active")).toBool() ? "on" : "off") +
           QLatin1String(entry.value(QStringLiteral("acknowledged")).toBool() ? ", ack" : "");
  }
  const QString text = entry.value(title.toLower()).toVariant().toString();
  constexpr int kToTheSecond = 19;
  return title == QLatin1String("TIME") ? text.left(kToTheSecond).replace(QLatin1Char('T'), QLatin1Char(' '))
                                        : text;
}

Terminal::Colour colourOf(const QJsonObject& entry) {
  using Colour = Terminal::Colour;
  static const QVector<Colour> kColours{Colour::Red, Colour::Cyan, Colour::Yellow};  // as typeNames()
  const int type = ListClient::typeNames().indexOf(entry.value(QStringLiteral("type")).toString());
  return entry.value(QStringLiteral("active")).toBool(true) ? kColours.value(type, Colour::None)
                                                            : Colour::None;
}

}  // namespace

ListView::ListView(ListClient::List list, bool json) : m_json(json), m_list(list), m_table(columnsOf(list)) {}

void ListView::showAll(const QJsonArray& entries) {
  if (!m_json && m_shown) {
    Terminal::print("\n");
  }
  m_table = TextTable(columnsOf(m_list));
  m_shown = false;
  showMore(entries);
}

void ListView::showMore(const QJsonArray& entries) {
  if (m_shown && entries.isEmpty()) {
    return;
  }
  m_shown = true;
  if (m_json) {
    const bool events = m_list == ListClient::List::Events;
    return Terminal::printJson(
        QJsonDocument(QJsonObject{{events ? QStringLiteral("events") : QStringLiteral("alarms"), entries}}));
  }
  for (const QJsonValue& value : entries) {
    const QJsonObject entry = value.toObject();
    QStringList row;
    for (const TextTable::Column& column : columnsOf(m_list)) {
      row += cell(entry, column.title);
    }
    m_table.addRow(row, colourOf(entry));
  }
  Terminal::print(m_table.takeUtf8());
}
