#pragma once

#include "AlarmStore.h"
#include "EventStore.h"
#include "MessageReader.h"
#include "SessionStore.h"

/** The state that the signals report. ChangeSignals signals what differs between two snapshots. */
struct ListSnapshot {
  quint64 eventGeneration = 0;
  quint64 alarmGeneration = 0;
  AlarmSummary summary{};
  bool detector = false;
};

/** Counts since the start of the service, and present sizes. */
struct Counters {
  quint64 stored = 0;       ///< received entries; not those that the service adds
  quint64 overwritten = 0;  ///< entries removed because the event list was full or they too old
  quint64 duplicates = 0;   ///< messages that had been applied before
  quint64 rejected = 0;     ///< messages refused for good
  qint64 entries = 0;       ///< in the event list now
  qint64 capacity = 0;      ///< maximum of entries
  qint64 sessions = 0;      ///< known now, see SessionStore
};

/** Who sends: the session, and the unix user of its connection. */
struct Sender {
  QByteArray session;
  quint32 user = SessionStore::kUnknownUser;
};

/**
 * The two lists and what they share: it applies each message once, logs edges and acknowledgements in the
 * event list, and keeps the generations and the central detector. It knows nothing of the bus.
 *
 * Every operation that changes something is one transaction: it is stored when the operation returns, and
 * nothing has changed when it throws. It throws StorageError when the storage fails; after any exception the
 * caller calls recover().
 */
class ListService {
 public:
  /** @param database opened by Schema::open(), must outlive this object */
  ListService(Database& database, const EventStore::Limits& limits);

  /** Remove what the event list does not keep. Every transaction does so, too. If the storage fails, nothing
   * is removed. */
  void trim() noexcept;

  /**
   * Apply the messages of a batch that were not applied before.
   * @param first number of the first message; if messages before it are missing, none is applied
   * @param floor highest number that the sender cannot repeat: what is missing up to it will not arrive
   */
  Stored store(const Sender& sender, quint64 first, quint64 floor, const MessageReader::Batch& batch);
  Stored stored(const QByteArray& session);

  /** Turn off the alarms of the session that are not in `on`; those in it that are active become the
   * session's. @return the alarms in `on` that are not active */
  QByteArrayList reportAlarms(const Sender& sender, const QByteArrayList& on);

  /** Turn on those alarms that are not active. @return the number of those that do not fit into the list */
  quint32 raiseAlarms(const Sender& sender, const MessageReader::Batch& entries);

  /** Turn off alarms of a session whose program has ended. @return whether there may be more: a call turns
   * off kMaxEnded at most */
  bool endSession(const QByteArray& session);
  static constexpr int kMaxEnded = 100;

  /** What is known of a session. */
  SessionStore::Session session(const QByteArray& session) { return m_sessions.find(session); }

  void recover() noexcept {
    m_database.rollback();
    m_events.setNewest(m_newest);
  }

  /** The stores, for reading only. */
  EventStore& events() { return m_events; }
  AlarmStore& alarms() { return m_alarms; }
  ListSnapshot snapshot();
  Counters counters();

  /** Identifies the event list: another database has another one. */
  quint64 epoch() const { return m_epoch; }
  /** Number of transactions that have changed something. */
  quint64 changes() const { return m_commits; }

 private:
  /** The effects of the open transaction. */
  struct Changes {
    bool events = false;
    bool alarms = false;
    quint64 stored = 0;
    quint64 rejected = 0;
  };

  template <class Work>
  void transaction(const Work& work);
  quint32 apply(const Sender& sender, const MessageReader::Message& message);
  quint32 applyEntry(const QByteArray& owner, const StoredEntry& entry);
  quint32 applyByHand(const StoredEntry& entry);
  void acknowledge(const QByteArrayList& alarmIds, const QByteArray& user);
  void turnOff(const StoredEntry& off);
  qint64 append(const StoredEntry& entry);
  void setDetector(bool on);

  Database& m_database;
  EventStore m_events;
  AlarmStore m_alarms;
  SessionStore m_sessions;
  Statement m_selectState;
  Statement m_changed;
  Statement m_setDetector;
  Changes m_changes;
  qint64 m_newest;
  quint64 m_epoch;
  quint64 m_commits = 0;
  Counters m_counters;
};
