#pragma once

#include <QByteArray>
#include <QString>

/** An entry as both stores keep it: that of one Log call, within the bounds of CallReader, or one that the
 * service makes for an acknowledgement. */
struct StoredEntry {
  int eventType = 0;
  int state = 0;
  QString iconType;
  QString moduleName;
  qint64 time = 0;         ///< milliseconds since 1970-01-01 00:00:00 UTC
  QByteArray description;  ///< JSON object with the keys of the description map; see DescriptionText
  QByteArray keywords;     ///< JSON array of texts
  QString user;
  QString alarmId;  ///< identifier of the alarm or fault; empty for any other entry
  QString objectName;
};
