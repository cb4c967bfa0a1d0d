#pragma once

#include "Database.h"
#include "StoredEntry.h"

/** Whether the alarm list holds alarms, active alarms, faults and active faults. */
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
 * The alarm list: one entry per identifier, from its first "on" until it is both off and acknowledged. The
 * caller adds entries to the event list and opens and commits transactions.
 */
class AlarmStore {
 public:
  /** Maximum number of entries. A full list takes no new alarms, because an alarm must not vanish while it is
   * on; the caller of turnOn() asks hasRoomFor() first. */
  static constexpr qint64 kCapacity = 10000;

  explicit AlarmStore(Database& database);

  /** Whether turnOn() with this identifier fits into the list. */
  bool hasRoomFor(const QString& alarmId);

  /**
   * Apply an "on": a new or inactive alarm becomes active and unacknowledged. An alarm that is active already
   * keeps its acknowledgement and gets the data of the new entry.
   * @param edge number of the entry in the event list
   * @return whether the alarm was off before
   */
  bool turnOn(const StoredEntry& entry, qint64 edge);

  /**
   * Apply an "off". The alarm keeps the type of its "on", whatever type this entry has.
   * An acknowledged alarm is removed.
   * @return whether the list held the alarm
   */
  bool turnOff(const StoredEntry& entry, qint64 edge);

  /**
   * Acknowledge one alarm. One that is off is removed.
   * @param moduleName, description set to those of the alarm if the result is true
   * @return false for an alarm that is unknown or acknowledged already; nothing changes then
   */
  bool acknowledge(const QString& alarmId, QString& moduleName, QByteArray& description);

  /** The list as ListJson writes it, the alarm with the newest edge first; `language` as for DescriptionText.
   */
  QByteArray list(const QString& language);

  /** A JSON object with the two states of one alarm, both false for an unknown one. */
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
