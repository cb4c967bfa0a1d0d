#pragma once

#include <QByteArray>
#include <QString>

/** The entry of one Log call, within the bounds of CallReader, as both stores keep it. A plain value. */
struct StoredEntry {
  int eventType = 0;
  int state = 0;
  QString iconType;
  QString moduleName;
  qint64 time = 0;         ///< milliseconds since 1970-01-01 00:00:00 UTC
  QByteArray description;  ///< JSON object with the keys of the description map; see DescriptionText
  QByteArray keywords;     ///< JSON array of texts
  QString user;
  QString alarmId;  ///< empty for an event
  QString objectName;
};
