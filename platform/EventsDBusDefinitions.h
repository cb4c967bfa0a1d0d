#pragma once

#include <QString>

/**
 * Keys of the description map that travels with an event, and the sources of its text.
 *
 * Every getter returns the same constant text at every call, allocates nothing and may be called from any
 * thread, also while static objects are constructed or destroyed. [any-thread]
 */
struct EventsDBusDefinitions {
  /** Where the service takes the text from: 0 the names in the map as they stand, 1 its own text table. */
  enum TextSource : int { TextSourceGiven = 0, TextSourceTable = 1 };

  static QString getEventDBusKeyTextSource();
  static QString getEventDBusKeyModuleName();
  static QString getEventDBusKeyObjectName();
  static QString getEventDBusKeyInstanceName();
  static QString getEventDBusKeyUrl();
  static QString getEventDBusKeyArguments();
  static QString getEventDBusKeyUrlArguments();
  static QString getEventDBusKeyArgument();
  static QString getEventDBusKeyPlaceholder();
};
