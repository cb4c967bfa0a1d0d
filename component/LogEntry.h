#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "CodesysStringCopy.h"
#include "CodesysTimeConversion.h"
#include "EventlistHandlerEnums.h"
#include "TavrolineConvenienceFunctions.h"

namespace Tavroline {

/** The converted fields that the structures of logevent_ext and logalarm_ext share. */
struct LogEntry {
  EventlistHandlerEnums::EventType type;
  EventlistHandlerEnums::State state;
  QString iconType;
  QString moduleName;
  QString user;
  QDateTime dateTime;
  QStringList keywords;
  QVariantMap description;
};

/** Converts texts, time, keywords and description in this order, which the log shows. A time of 0 stays null.
 * [plc-task] */
template <typename Parameters>
LogEntry convertLogEntry(const Parameters& parameters) {
  LogEntry entry;
  entry.type = static_cast<EventlistHandlerEnums::EventType>(parameters.iEventType);
  entry.state = static_cast<EventlistHandlerEnums::State>(parameters.iState);
  copyCStringDataToQString(parameters.psIconType, -1, entry.iconType);
  copyCStringDataToQString(parameters.psModuleName, -1, entry.moduleName);
  copyWStringDataToQString(parameters.pwsUser, -1, entry.user);
  if (parameters.dtDateTime != 0) {
    entry.dateTime = CodesysTimeConversion::IECUtcDateTimeToQDateTime(parameters.dtDateTime);
  }
  entry.keywords = TavrolineConvenienceFunctions::getKeywordStringList(
      parameters.pasKeywords, parameters.iKeywordSize, parameters.stKeywordsDimInfo);
  entry.description = TavrolineConvenienceFunctions::getDescriptionVariantMap(
      parameters.pstData, parameters.pastArguments, parameters.stArgumentsDimInfo,
      parameters.pastUrlArguments, parameters.stUrlArgumentsDimInfo);
  return entry;
}

}  // namespace Tavroline
