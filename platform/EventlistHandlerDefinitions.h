#pragma once

#include <QString>

/**
 * Keys of the lists that the services deliver, and the names of the default icons.
 *
 * Every getter returns the same text at every call and may be called while static objects are constructed or
 * destroyed. [any-thread]
 */
struct EventlistHandlerDefinitions {
  /** Key of the entry array in the top-level object of a list reply. */
  static QString getListDataName();

  // Members of one list entry. The event list has all but the last three, the alarm list all but id and user.
  static QString getListColumnNameEventlistId();          ///< integer
  static QString getListColumnNameEventType();            ///< integer, EventlistHandlerEnums::EventType
  static QString getListColumnNameIconType();             ///< text
  static QString getListColumnNameLocalTime();            ///< text, ISO 8601 with milliseconds, local time
  static QString getListColumnNameModuleName();           ///< text
  static QString getListColumnNameDescription();          ///< text in the requested language
  static QString getListColumnNameUser();                 ///< text
  static QString getListColumnNameKeywords();             ///< array of texts
  static QString getListColumnNameAlarmActive();          ///< boolean
  static QString getListColumnNameAlarmAcknowledgment();  ///< boolean
  static QString getListColumnNameAlarmID();              ///< text, the identifier that acknowledgements name

  static QString getIconNameAlarmOn();
  static QString getIconNameAlarmOff();
  static QString getIconNameAuditTrail();
  static QString getIconNameFaultOn();
  static QString getIconNameFaultOff();
  static QString getIconNameEvent();
  static QString getIconNameEventOn();
  static QString getIconNameEventOff();
};
