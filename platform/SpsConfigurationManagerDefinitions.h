#pragma once

#include <QString>

/** Names under which PLC parts of the device appear at the services. The getter keeps the promises of those
 * of EventsDBusDefinitions. [any-thread] */
struct SpsConfigurationManagerDefinitions {
  /** The object under which events and alarms of PLC applications are written. */
  static QString getObjectNameEvents();
};
