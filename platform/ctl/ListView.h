#pragma once

#include <QJsonArray>
#include <QStringList>

#include "TextTable.h"

/**
 * Shows entries of a list on stdout, as a table or as JSON. Which entries those are is the caller's choice.
 */
class ListView {
 public:
  /** @param columns keys of the members that a table shows; JSON shows all */
  ListView(const QStringList& columns, bool json) : m_columns(columns), m_json(json), m_table(columns) {}

  /** A complete list: a table with its header, or one indented document. [any-thread] */
  void showAll(const QJsonArray& entries);

  /** More of a list: further rows of the same table, or one line of JSON for each entry. [any-thread] */
  void showMore(const QJsonArray& entries);

 private:
  void addRows(const QJsonArray& entries);

  QStringList m_columns;
  bool m_json;
  TextTable m_table;
};
