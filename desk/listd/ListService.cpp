#include "ListService.h"

#include <QDateTime>
#include <QSet>

#include <algorithm>

#include "DescriptionText.h"
#include "EventlistHandlerEnums.h"
#include "ListServiceNames.h"
#include "ServiceEntries.h"

using Tavroline::MessageFormat::Kind;

namespace {

bool turnsOn(const StoredEntry& entry) {
  return !entry.alarmId.isEmpty() && entry.state == EventlistHandlerEnums::StateOn &&
         (entry.eventType == EventlistHandlerEnums::EventTypeAlarm ||
          entry.eventType == EventlistHandlerEnums::EventTypeFault);
}

bool turnsOff(const StoredEntry& entry) {
  return !entry.alarmId.isEmpty() && entry.state == EventlistHandlerEnums::StateOff;
}

}  // namespace

ListService::ListService(Database& database, const EventStore::Limits& limits)
    : m_database(database),
      m_events(database, limits),
      m_alarms(database),
      m_sessions(database),
      m_selectState(database, "SELECT event_generation, alarm_generation, detector FROM state"),
      // A generation is the time of the commit in microseconds, but at least one more than the last. If
      // somebody restores an older copy of the database, the generations that clients have seen are therefore
      // not used again, unless the clock was set back.
      m_changed(database,
                "UPDATE state SET newest = ?1,"
                " event_generation = iif(?2, max(event_generation + 1, ?4), event_generation),"
                " alarm_generation = iif(?3, max(alarm_generation + 1, ?4), alarm_generation)"),
      m_setDetector(database, "UPDATE state SET detector = ?"),
      m_newest(
          database.queryNumber("SELECT max(newest, (SELECT ifnull(max(id), 0) FROM events)) FROM state")),
      m_epoch(static_cast<quint64>(database.queryNumber("SELECT epoch FROM state"))) {
  m_events.setNewest(m_newest);
  trim();
  database.compact();
}

void ListService::trim() noexcept {
  try {
    if (m_events.hasExcess()) {
      transaction([this] { m_changes.events = true; });
    }
  } catch (const std::exception&) {
    recover();
  }
}

/** Do the work and commit what it changed. The work may be done twice, see Database. */
template <class Work>
void ListService::transaction(const Work& work) {
  quint64 overwritten = 0;
  m_database.transaction([&] {
    m_changes = {};
    m_events.setNewest(m_newest);
    work();
    const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
    m_changed.bind(0, m_events.newest()).bind(1, qint64{m_changes.events}).bind(2, qint64{m_changes.alarms});
    m_changed.bind(3, now).run();
    overwritten = m_events.trim();
  });
  m_newest = m_events.newest();
  m_counters.overwritten += overwritten;
  m_counters.stored += m_changes.stored;
  m_counters.rejected += m_changes.rejected;
  ++m_commits;
}

Stored ListService::store(const Sender& sender, quint64 first, quint64 floor,
                          const MessageReader::Batch& batch) {
  const quint64 before = qMax(m_sessions.find(sender.session).upTo, floor);
  const quint64 after = first + batch.size() - 1;
  if (first > before + 1 || after <= before) {
    m_counters.duplicates += first > before + 1 ? 0 : batch.size();
    return {before, m_sessions.refused(sender.session, floor)};
  }
  const std::size_t repeated = before + 1 - first;
  Stored stored{after, {}};
  transaction([&] {
    m_sessions.forgetRefused(sender.session, floor);
    for (std::size_t i = repeated; i < batch.size(); ++i) {
      const quint32 refusal = apply(sender, batch[i]);
      if (refusal != 0) {
        m_sessions.refuse(sender.session, first + i, refusal);
        ++m_changes.rejected;
      }
    }
    m_sessions.write(sender.session, after, sender.user);
    stored.refused = m_sessions.refused(sender.session, floor);
  });
  m_counters.duplicates += repeated;
  return stored;
}

Stored ListService::stored(const QByteArray& session) {
  return {m_sessions.find(session).upTo, m_sessions.refused(session, 0)};
}

QByteArrayList ListService::reportAlarms(const Sender& sender, const QByteArrayList& on) {
  const QSet<QByteArray> reported(on.begin(), on.end());
  QByteArrayList missing;
  QByteArrayList taken;
  for (const QByteArray& alarmId : reported) {
    const AlarmStore::State alarm = m_alarms.find(alarmId);
    if (!alarm.active) {
      missing.append(alarmId);
    } else if (alarm.session != sender.session) {
      taken.append(alarmId);
    }
  }
  QByteArrayList ended = m_alarms.activeOf(sender.session, AlarmStore::kCapacity);
  ended.erase(
      std::remove_if(ended.begin(), ended.end(), [&](const auto& id) { return reported.contains(id); }),
      ended.end());
  if (!taken.isEmpty() || !ended.isEmpty()) {
    transaction([&] {
      for (const QByteArray& alarmId : taken) {
        m_alarms.assign(alarmId, sender.session);
      }
      for (const QByteArray& alarmId : ended) {
        turnOff(ServiceEntries::off(DescriptionText::kAlarmNotReported, m_alarms.read(alarmId)));
      }
      m_sessions.write(sender.session, m_sessions.find(sender.session).upTo, sender.user);
    });
  }
  return missing;
}

quint32 ListService::raiseAlarms(const Sender& sender, const MessageReader::Batch& entries) {
  quint32 full = 0;
  transaction([&] {
    full = 0;
    for (const MessageReader::Message& message : entries) {
      if (!message.valid || message.kind != Kind::Entry || !turnsOn(message.entry)) {
        ++m_changes.rejected;
      } else if (m_alarms.find(message.entry.alarmId).active) {
        m_alarms.assign(message.entry.alarmId, sender.session);
      } else {
        full += applyEntry(sender.session, message.entry) != 0 ? 1 : 0;
      }
    }
    m_sessions.write(sender.session, m_sessions.find(sender.session).upTo, sender.user);
  });
  return full;
}

bool ListService::endSession(const QByteArray& session) {
  const QByteArrayList alarms = m_alarms.activeOf(session, kMaxEnded);
  if (!alarms.isEmpty()) {
    transaction([&] {
      for (const QByteArray& alarmId : alarms) {
        turnOff(ServiceEntries::off(DescriptionText::kProgramEnded, m_alarms.read(alarmId)));
      }
    });
  }
  return alarms.size() == kMaxEnded;
}

Counters ListService::counters() {
  Counters counters = m_counters;
  counters.entries = m_events.count();
  counters.capacity = m_events.capacity();
  counters.sessions = m_sessions.count();
  return counters;
}

ListSnapshot ListService::snapshot() {
  m_selectState.next();
  ListSnapshot snapshot;
  snapshot.eventGeneration = static_cast<quint64>(m_selectState.number(0));
  snapshot.alarmGeneration = static_cast<quint64>(m_selectState.number(1));
  snapshot.detector = m_selectState.number(2) != 0;
  m_selectState.reset();
  snapshot.summary = m_alarms.summary();
  return snapshot;
}

/** Apply one message. @return 0, or why it is refused: it has changed nothing then */
quint32 ListService::apply(const Sender& sender, const MessageReader::Message& message) {
  if (!message.valid) {
    return Tavroline::ListServiceNames::kRefusedInvalid;
  }
  switch (message.kind) {
    case Kind::Entry:
      return applyEntry(sender.session, message.entry);
    case Kind::EntryByHand:
      return applyByHand(message.entry);
    case Kind::DeleteEvents:
      m_changes.events = m_events.clear() || m_changes.events;
      if (!message.entry.user.isEmpty()) {
        append(ServiceEntries::audit(DescriptionText::kEventsDeleted, message.entry.user));
      }
      break;
    case Kind::AcknowledgeAlarms:
      acknowledge(message.alarmIds, message.entry.user);
      break;
    case Kind::AcknowledgeDetector:
      setDetector(false);
      append(ServiceEntries::audit(DescriptionText::kDetectorAcknowledged, message.entry.user));
  }
  return 0;
}

/** An alarm that the entry turns on belongs to `owner`, a session or none. */
quint32 ListService::applyEntry(const QByteArray& owner, const StoredEntry& entry) {
  if (turnsOn(entry)) {
    if (!m_alarms.hasRoomFor(entry.alarmId)) {
      return Tavroline::ListServiceNames::kRefusedFull;
    }
    if (m_alarms.turnOn(entry, append(entry), owner)) {
      setDetector(true);
    }
    m_changes.alarms = true;
  } else if (turnsOff(entry)) {
    m_changes.alarms = m_alarms.turnOff(entry, append(entry)) || m_changes.alarms;
  } else {
    append(entry);
  }
  ++m_changes.stored;
  return 0;
}

quint32 ListService::applyByHand(const StoredEntry& entry) {
  if (turnsOff(entry)) {
    const StoredEntry alarm = m_alarms.read(entry.alarmId);
    if (m_alarms.find(entry.alarmId).active) {
      StoredEntry off = ServiceEntries::off(DescriptionText::kAlarmCleared, alarm);
      off.description = alarm.description;
      off.user = entry.user;
      turnOff(off);
      append(ServiceEntries::audit(DescriptionText::kAlarmCleared, entry.user, alarm));
    }
    return 0;
  }
  const quint32 refusal = applyEntry({}, entry);
  if (refusal == 0 && entry.eventType != EventlistHandlerEnums::EventTypeAuditTrail) {
    const char* const key = turnsOn(entry) ? DescriptionText::kAlarmRaised : DescriptionText::kEventLogged;
    append(ServiceEntries::audit(key, entry.user, entry));
  }
  return refusal;
}

void ListService::acknowledge(const QByteArrayList& alarmIds, const QByteArray& user) {
  for (const QByteArray& alarmId : alarmIds) {
    const AlarmStore::State state = m_alarms.find(alarmId);
    if (state.known && !state.acknowledged) {
      append(ServiceEntries::audit(DescriptionText::kAlarmAcknowledged, user, m_alarms.read(alarmId)));
      m_alarms.acknowledge(alarmId);
      m_changes.alarms = true;
    }
  }
}

void ListService::turnOff(const StoredEntry& off) {
  m_alarms.turnOff(off, append(off));
  m_changes.alarms = true;
}

qint64 ListService::append(const StoredEntry& entry) {
  m_changes.events = true;
  return m_events.append(entry);
}

void ListService::setDetector(bool on) {
  m_setDetector.bind(0, qint64{on ? 1 : 0}).run();
}
