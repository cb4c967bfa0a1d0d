#pragma once

#include <QJsonArray>

#include "ListClient.h"
#include "TextTable.h"

/** Writes entries of one list to stdout, as a table or as JSON. The caller selects the entries. */
class ListView {
 public:
  ListView(ListClient::List list, bool json);

  /** A complete list: a table with its header, after the first one an empty line before it. In JSON one line
   * with one object, whose member "events" or "alarms" is the array of the entries. */
  void showAll(const QJsonArray& entries);

  /** More entries: further rows of the same table, or an object as showAll() prints it; nothing if there are
   * none. At first as showAll(). */
  void showMore(const QJsonArray& entries);

 private:
  bool m_json;
  bool m_shown = false;
  ListClient::List m_list;
  TextTable m_table;
};
