#pragma once

#include <array>

#include "ListJson.h"
#include "StoredEntry.h"

/** Whether the alarm list holds alarms, active alarms, faults and active faults: 0 or 1 each. */
using AlarmSummary = std::array<int, 4>;

/**
 * The alarm list: one entry per identifier, from its first "on" until it is both off and acknowledged. The
 * caller adds entries to the event list and opens and commits transactions.
 *
 * An alarm belongs to the session that reported it on last. One without a session stays so until it is off.
 */
class AlarmStore {
 public:
  /** Maximum number of entries. A full list takes no new alarms, because an alarm must not vanish while it is
   * on; the caller of turnOn() asks hasRoomFor() first. */
  static constexpr qint64 kCapacity = 10000;

  explicit AlarmStore(Database& database);

  /** Whether turnOn() with this identifier fits into the list. */
  bool hasRoomFor(const QByteArray& alarmId);

  /**
   * Apply an "on": a new or inactive alarm becomes active and unacknowledged. An alarm that is active already
   * keeps its acknowledgement and gets the data of the new entry.
   * @param edge number of the entry in the event list
   * @return whether the alarm was off before
   */
  bool turnOn(const StoredEntry& entry, qint64 edge, const QByteArray& session);

  /**
   * Apply an "off". The alarm keeps the type of its "on", whatever type this entry has.
   * An acknowledged alarm is removed.
   * @return whether the list held the alarm
   */
  bool turnOff(const StoredEntry& entry, qint64 edge);

  /** Acknowledge one alarm. One that is off is removed. */
  void acknowledge(const QByteArray& alarmId);

  struct State {
    bool known = false;
    bool active = false;
    bool acknowledged = false;
    QByteArray session;
  };
  State find(const QByteArray& alarmId);
  /** What an entry about an alarm of the list needs: identifier, type, module, description, keywords. */
  StoredEntry read(const QByteArray& alarmId);
  /** Let an alarm that has a session belong to another one. */
  void assign(const QByteArray& alarmId, const QByteArray& session);
  /** Active alarms of one session in the order of their edges, at most `count`. */
  QByteArrayList activeOf(const QByteArray& session, qint64 count);
  /** The sessions that have active alarms. */
  QByteArrayList owners();

  /** The list as ListJson writes it, the alarm with the newest edge first. */
  QByteArray list(const QByteArray& language);

  /** A JSON object with the two states of one alarm, both false for an unknown one. */
  QByteArray alarmState(const QByteArray& alarmId);

  AlarmSummary summary();

 private:
  Database& m_database;
  Statement m_find;
  Statement m_read;
  Statement m_room;
  Statement m_turnOn;
  Statement m_turnOff;
  Statement m_acknowledge;
  Statement m_remove;
  Statement m_assign;
  Statement m_activeOf;
  Statement m_owners;
  Statement m_count;
  Statement m_select;
  Statement m_summary;
};
