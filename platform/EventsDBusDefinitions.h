#pragma once

#include <QString>

/**
 * Keys of the description map that travels with an event, and the sources of its text.
 *
 * Every getter returns the same text at every call and may be called while static objects are constructed or
 * destroyed. [any-thread]
 */
struct EventsDBusDefinitions {
  /** The two sources of an entry's text. The component passes the number on; its meaning is the service's. */
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
