#pragma once

#include <QJsonArray>

#include "ListClient.h"
#include "TextTable.h"

/** Shows entries of one list on stdout, as a table or as JSON. Which entries those are is the caller's
 * choice. */
class ListView {
 public:
  ListView(ListClient::List list, bool json);

  /** A complete list: a table with its header, or one document. [any-thread] */
  void showAll(const QJsonArray& entries);

  /** The list as it is now, once more: a table after an empty line, or one line of JSON. [any-thread] */
  void showAgain(const QJsonArray& entries);

  /** More of a list: further rows of the same table, or one line of JSON for each entry. [any-thread] */
  void showMore(const QJsonArray& entries);

 private:
  void addRows(const QJsonArray& entries);

  bool m_json;
  ListClient::List m_list;
  TextTable m_table;
};

/** Write to stdout what is one piece, so that whoever reads along gets it at once. [any-thread] */
void printPiece(const QByteArray& text);
