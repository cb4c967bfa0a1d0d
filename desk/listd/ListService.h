#pragma once

#include <QStringList>

#include "AlarmStore.h"
#include "EventStore.h"
#include "FailedMessages.h"
#include "Sessions.h"
#include "StoredEntry.h"

/** The state that the signals report. CallBatch signals what differs between two snapshots. */
struct ListSnapshot {
  quint64 eventGeneration = 0;
  quint64 alarmGeneration = 0;
  AlarmSummary summary;
  bool detector = false;
};

/** Counts since the start of the service, and present sizes. */
struct Counters {
  quint64 stored = 0;       ///< entries of the method Log; not those of acknowledgements
  quint64 overwritten = 0;  ///< entries removed because the event list was full
  quint64 duplicates = 0;   ///< messages that had been applied before
  qint64 entries = 0;       ///< in the event list now
  qint64 capacity = 0;      ///< maximum of entries
  qint64 sessions = 0;      ///< known now, see Sessions
};

/**
 * The two lists and what they share: it applies each message once, logs edges and acknowledgements in the
 * event list, and keeps the generations and the central detector. It knows nothing of the bus.
 *
 * Messages are applied in a transaction, which the first one opens; commit() stores them, rollback() undoes
 * them. An operation throws CallError when it refuses the message; nothing has changed then. It throws
 * StorageError when the storage fails. After any other exception than CallError the caller calls rollback():
 * all messages of the transaction have then failed, and later messages on their connections are refused with
 * kErrorStorage until their sender starts again (see FailedMessages).
 */
class ListService {
 public:
  /** @param database opened by Schema::open(), must outlive this object; @param capacity entries of the event
   * list */
  ListService(Database& database, qint64 capacity);

  void log(const Sender& sender, const StoredEntry& entry);
  void deleteEvents(const Sender& sender);
  void acknowledgeAlarms(const Sender& sender, const QStringList& alarmIds, const QString& user);
  void acknowledgeDetector(const Sender& sender, const QString& user);

  void commit();
  void rollback() noexcept;

  /** The stores, for reading only. They include uncommitted changes. */
  EventStore& events() { return m_events; }
  AlarmStore& alarms() { return m_alarms; }
  ListSnapshot snapshot();
  Counters counters();

 private:
  /** The effects of the open transaction. */
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
