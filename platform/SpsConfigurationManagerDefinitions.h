#pragma once

#include <QString>

/** Names under which PLC parts of the device appear at the services. As EventsDBusDefinitions. [any-thread]
 */
struct SpsConfigurationManagerDefinitions {
  /** The object under which events and alarms of PLC applications are written. */
  static QString getObjectNameEvents();
};
