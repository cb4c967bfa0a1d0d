#pragma once

#include <QStringList>

#include "AlarmStore.h"
#include "EventStore.h"
#include "FailedMessages.h"
#include "Sessions.h"
#include "StoredEntry.h"

/** What a subscriber of the lists can know; two snapshots that differ mean a signal. */
struct ListSnapshot {
  quint64 eventGeneration = 0;
  quint64 alarmGeneration = 0;
  AlarmSummary summary;
  bool detector = false;
};

/** What happened since the service was started, and what the event list holds now. */
struct Counters {
  quint64 stored = 0;       ///< messages of Log that were carried out
  quint64 overwritten = 0;  ///< entries that had to make room
  quint64 duplicates = 0;   ///< messages that had been carried out before
  qint64 entries = 0;
  qint64 capacity = 0;
  qint64 sessions = 0;
};

/**
 * The two lists and what they have in common: each message once, edges and acknowledgements in the event
 * list, generations, the central detector. It knows nothing of the bus.
 *
 * Messages are carried out in an open transaction and count only after commit(); until then rollback() makes
 * all of them undone. Every operation throws StorageError when the storage refuses (then call rollback()) and
 * CallError when it refuses itself (then it changed nothing). After an exception that is no CallError the
 * messages of the transaction have failed: what follows them on their connections is refused with
 * kErrorStorage until they come again.
 */
class ListService {
 public:
  /** @param database opened by Schema; @param capacity of the event list */
  ListService(Database& database, qint64 capacity);

  void log(const Sender& sender, const StoredEntry& entry);
  void deleteEvents(const Sender& sender);
  void acknowledgeAlarms(const Sender& sender, const QStringList& alarmIds, const QString& user);
  void acknowledgeDetector(const Sender& sender, const QString& user);

  void commit();
  void rollback() noexcept;

  /** The stores for reading; what is not committed shows in them. */
  EventStore& events() { return m_events; }
  AlarmStore& alarms() { return m_alarms; }
  ListSnapshot snapshot();
  Counters counters();

 private:
  /** What the messages of the open transaction add up to. */
  struct Changes {
    bool open = false;
    bool events = false;
    bool alarms = false;
    quint64 stored = 0;
  };

  bool isRepetition(const Sender& sender);
  void record(const Sender& sender);
  qint64 append(const StoredEntry& entry);
  void applyEdge(const StoredEntry& entry, qint64 edge);
  void setDetector(bool on);

  Database& m_database;
  EventStore m_events;
  AlarmStore m_alarms;
  Sessions m_sessions;
  FailedMessages m_failed;
  Statement m_selectState;
  Statement m_eventsChanged;
  Statement m_alarmsChanged;
  Statement m_setDetector;
  Changes m_changes;
  quint64 m_stored = 0;
  quint64 m_overwritten = 0;
  quint64 m_duplicates = 0;
};
