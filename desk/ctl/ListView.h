#pragma once

#include <QJsonArray>

#include "ListClient.h"
#include "Terminal.h"

/** Writes entries of one list to stdout, as a table or as JSON. The caller selects the entries. */
class ListView {
 public:
  ListView(ListClient::List list, bool json);

  /** A complete list: a table with its header, or one document. */
  void showAll(const QJsonArray& entries);

  /** A complete list again: a table after an empty line, or one line of JSON. */
  void showAgain(const QJsonArray& entries);

  /** More entries: further rows of the same table, or one line of JSON for each entry. */
  void showMore(const QJsonArray& entries);

 private:
  void addRows(const QJsonArray& entries);

  bool m_json;
  ListClient::List m_list;
  TextTable m_table;
};
