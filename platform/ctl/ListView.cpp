#include "ListView.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

#include "EventlistHandlerDefinitions.h"

namespace {

void print(const QByteArray& text) {
  std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
  std::fflush(stdout);
}

QString typeName(int type) {
  static const QStringList kNames{QStringLiteral("alarm"), QStringLiteral("audit"), QStringLiteral("fault"),
                                  QStringLiteral("event")};
  return kNames.value(type, QString::number(type));
}

QString cell(const QJsonObject& entry, const QString& column) {
  const QJsonValue value = entry.value(column);
  if (column == EventlistHandlerDefinitions::getListColumnNameEventType()) return typeName(value.toInt());
  if (value.isBool()) return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
  return value.isDouble() ? QString::number(value.toDouble(), 'f', 0) : value.toString();
}

}  // namespace

void ListView::showAll(const QJsonArray& entries) {
  if (m_json) {
    const QJsonObject document{{EventlistHandlerDefinitions::getListDataName(), entries}};
    print(QJsonDocument(document).toJson());
    return;
  }
  m_table = TextTable(m_columns);
  addRows(entries);
}

void ListView::showMore(const QJsonArray& entries) {
  if (!m_json) {
    addRows(entries);
    return;
  }
  for (const QJsonValue& entry : entries) {
    print(QJsonDocument(entry.toObject()).toJson(QJsonDocument::Compact) + '\n');
  }
}

void ListView::addRows(const QJsonArray& entries) {
  for (const QJsonValue& value : entries) {
    const QJsonObject entry = value.toObject();
    QStringList row;
    for (const QString& column : qAsConst(m_columns))
      row += cell(entry, column);
    m_table.addRow(row);
  }
  print(m_table.takeUtf8());
}
