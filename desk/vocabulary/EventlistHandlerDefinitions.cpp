#include "EventlistHandlerDefinitions.h"

QString EventlistHandlerDefinitions::getListDataName() {
  return QStringLiteral("ListData");
}
QString EventlistHandlerDefinitions::getListColumnNameEventlistId() {
  return QStringLiteral("EventlistId");
}
QString EventlistHandlerDefinitions::getListColumnNameEventType() {
  return QStringLiteral("EventType");
}
QString EventlistHandlerDefinitions::getListColumnNameIconType() {
  return QStringLiteral("IconType");
}
QString EventlistHandlerDefinitions::getListColumnNameLocalTime() {
  return QStringLiteral("LocalTime");
}
QString EventlistHandlerDefinitions::getListColumnNameModuleName() {
  return QStringLiteral("ModuleName");
}
QString EventlistHandlerDefinitions::getListColumnNameDescription() {
  return QStringLiteral("Description");
}
QString EventlistHandlerDefinitions::getListColumnNameUser() {
  return QStringLiteral("User");
}
QString EventlistHandlerDefinitions::getListColumnNameKeywords() {
  return QStringLiteral("Keywords");
}
QString EventlistHandlerDefinitions::getListColumnNameAlarmActive() {
  return QStringLiteral("AlarmActive");
}
QString EventlistHandlerDefinitions::getListColumnNameAlarmAcknowledgment() {
  return QStringLiteral("AlarmAcknowledgment");
}
QString EventlistHandlerDefinitions::getListColumnNameAlarmID() {
  return QStringLiteral("AlarmID");
}
QString EventlistHandlerDefinitions::getIconNameAlarmOn() {
  return QStringLiteral("alarm-on");
}
QString EventlistHandlerDefinitions::getIconNameAlarmOff() {
  return QStringLiteral("alarm-off");
}
QString EventlistHandlerDefinitions::getIconNameAuditTrail() {
  return QStringLiteral("audit-trail");
}
QString EventlistHandlerDefinitions::getIconNameFaultOn() {
  return QStringLiteral("fault-on");
}
QString EventlistHandlerDefinitions::getIconNameFaultOff() {
  return QStringLiteral("fault-off");
}
QString EventlistHandlerDefinitions::getIconNameEvent() {
  return QStringLiteral("event");
}
QString EventlistHandlerDefinitions::getIconNameEventOn() {
  return QStringLiteral("event-on");
}
QString EventlistHandlerDefinitions::getIconNameEventOff() {
  return QStringLiteral("event-off");
}
