#pragma once

#include <QByteArray>

/** An entry as both stores keep it: a received one within the bounds of MessageReader, or one of the service
 * itself. All texts are UTF-8. */
struct StoredEntry {
  int eventType = 0;
  int state = 0;
  QByteArray iconType;
  QByteArray moduleName;
  qint64 time = 0;         ///< milliseconds since 1970-01-01 00:00:00 UTC
  QByteArray description;  ///< JSON object with the keys of the description map; see DescriptionText
  QByteArray keywords;     ///< JSON array of texts
  QByteArray user;
  QByteArray alarmId;  ///< identifier of the alarm or fault; empty for any other entry
  QByteArray objectName;
};
