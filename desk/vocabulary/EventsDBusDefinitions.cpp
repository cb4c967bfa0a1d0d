#include "EventsDBusDefinitions.h"

QString EventsDBusDefinitions::getEventDBusKeyTextSource() {
  return QStringLiteral("TextSource");
}
QString EventsDBusDefinitions::getEventDBusKeyModuleName() {
  return QStringLiteral("ModuleName");
}
QString EventsDBusDefinitions::getEventDBusKeyObjectName() {
  return QStringLiteral("ObjectName");
}
QString EventsDBusDefinitions::getEventDBusKeyInstanceName() {
  return QStringLiteral("InstanceName");
}
QString EventsDBusDefinitions::getEventDBusKeyUrl() {
  return QStringLiteral("Url");
}
QString EventsDBusDefinitions::getEventDBusKeyArguments() {
  return QStringLiteral("Arguments");
}
QString EventsDBusDefinitions::getEventDBusKeyUrlArguments() {
  return QStringLiteral("UrlArguments");
}
QString EventsDBusDefinitions::getEventDBusKeyArgument() {
  return QStringLiteral("Argument");
}
QString EventsDBusDefinitions::getEventDBusKeyPlaceholder() {
  return QStringLiteral("Placeholder");
}
