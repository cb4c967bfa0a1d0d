#pragma once

#include <QString>

/**
 * Keys of the description map that is sent with an entry, and the sources of its text.
 *
 * Every getter returns the same text at every call and may be called while static objects are constructed or
 * destroyed. [any-thread]
 */
struct EventsDBusDefinitions {
  /** Where an entry's text comes from: 0 or 1. The service gives the two their meaning. */
  enum TextSource : int {};

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
