#include "ServiceEntries.h"

#include <QDateTime>

#include "DescriptionText.h"
#include "EventlistHandlerDefinitions.h"
#include "EventlistHandlerEnums.h"
#include "EventsDBusDefinitions.h"
#include "ListJson.h"

namespace {

using Icons = EventlistHandlerDefinitions;

/** The entry's description, or one that shows the alarm's identifier if the text of the former is empty. */
QByteArray subjectOf(const StoredEntry& entry) {
  std::string text;
  if (entry.alarmId.isEmpty() ||
      (DescriptionText::make(viewOf(entry.description), {}, text) && !text.empty())) {
    return entry.description;
  }
  QByteArray subject = "{\"" + EventsDBusDefinitions::getEventDBusKeyObjectName().toUtf8() + "\":";
  ListJson::appendQuoted(subject, viewOf(entry.alarmId));
  return subject + '}';
}

StoredEntry entryAbout(const StoredEntry& subject, const char* key) {
  StoredEntry entry;
  entry.time = QDateTime::currentMSecsSinceEpoch();
  entry.moduleName = subject.moduleName;
  entry.description = DescriptionText::ofTable(key, subjectOf(subject));
  return entry;
}

}  // namespace

StoredEntry ServiceEntries::audit(const char* key, const QByteArray& user, const StoredEntry& about) {
  StoredEntry entry = entryAbout(about, key);
  entry.user = user;
  entry.eventType = EventlistHandlerEnums::EventTypeAuditTrail;
  entry.state = EventlistHandlerEnums::StateNeutral;
  entry.iconType = Icons::getIconNameAuditTrail().toUtf8();
  entry.keywords = "[]";
  return entry;
}

StoredEntry ServiceEntries::off(const char* key, const StoredEntry& alarm) {
  StoredEntry entry = entryAbout(alarm, key);
  const bool isFault = alarm.eventType == EventlistHandlerEnums::EventTypeFault;
  entry.eventType = alarm.eventType;
  entry.state = EventlistHandlerEnums::StateOff;
  entry.iconType = (isFault ? Icons::getIconNameFaultOff() : Icons::getIconNameAlarmOff()).toUtf8();
  entry.keywords = alarm.keywords;
  entry.alarmId = alarm.alarmId;
  return entry;
}
