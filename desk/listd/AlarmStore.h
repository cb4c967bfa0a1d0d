#pragma once

#include "Database.h"
#include "StoredEntry.h"

/** What is in the alarm list, at a glance. */
struct AlarmSummary {
  bool alarm = false;
  bool activeAlarm = false;
  bool fault = false;
  bool activeFault = false;

  friend bool operator==(const AlarmSummary& a, const AlarmSummary& b) {
    return a.alarm == b.alarm && a.activeAlarm == b.activeAlarm && a.fault == b.fault &&
           a.activeFault == b.activeFault;
  }
};

/**
 * The alarm list: one entry per identifier, from its first "on" until it is both off and acknowledged. It
 * does not log; what an edge or an acknowledgement leaves in the event list is the caller's, transactions
 * too.
 */
class AlarmStore {
 public:
  /** Entries at most. Nothing is dropped to make room: an alarm must not vanish while it lasts. */
  static constexpr qint64 kCapacity = 10000;

  explicit AlarmStore(Database& database);

  /** Whether `turnOn()` with this identifier has room. */
  bool hasRoomFor(const QString& alarmId);

  /**
   * Carry an "on" into the list: a new or inactive alarm becomes active and unacknowledged. One that is
   * active already takes over the data and stays acknowledged if it was.
   * @param edge number of the entry's event
   * @return whether the alarm was off before
   */
  bool turnOn(const StoredEntry& entry, qint64 edge);

  /**
   * Carry an "off" into the list, whatever type it names: the alarm keeps the type it was raised with.
   * @return whether the list holds, or held, that alarm
   */
  bool turnOff(const StoredEntry& entry, qint64 edge);

  /**
   * Acknowledge one alarm.
   * @param moduleName, description those of the alarm, set only when it was acknowledged now
   * @return false for an unknown or acknowledged one, which changes nothing
   */
  bool acknowledge(const QString& alarmId, QString& moduleName, QByteArray& description);

  /** The alarm with the newest edge first, as JSON; `language` as for DescriptionText. */
  QByteArray list(const QString& language);

  /** JSON object with the two state columns of one alarm, both false for an unknown one. */
  QByteArray alarmState(const QString& alarmId);

  AlarmSummary summary();

 private:
  void removeFinished(const QString& alarmId);

  Database& m_database;
  Statement m_find;
  Statement m_room;
  Statement m_turnOn;
  Statement m_turnOff;
  Statement m_acknowledge;
  Statement m_remove;
  Statement m_select;
  Statement m_summary;
};
