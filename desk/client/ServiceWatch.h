#pragma once

#include <QByteArray>
#include <array>
#include <list>
#include <memory>
#include <vector>

#include "BusConnection.h"
#include "ListState.h"
#include "Message.h"

namespace Tavroline {

/**
 * Finds out who owns the service's name, and keeps the state of its lists up to date.
 *
 * It queries the state from each new owner; from then on the service's signals update it. It sends no
 * messages of the outbox. [hub]
 */
class ServiceWatch {
 public:
  ServiceWatch(BusConnection& connection, ListState& state);

  /** Install the matches and ask for the owner. The connection must be ready. */
  void start();

  /** Discard everything that belongs to the present connection. */
  void stop();

  bool isStarted() const { return !m_matches.empty(); }

  /** Repeat the state queries that are due. @return false when the owner has left too many unanswered. */
  bool keep(Clock::time_point now);

  /** Unique name of the owner, empty while there is none or while it is not known yet. */
  const QByteArray& owner() const { return m_owner; }

  /** Whether the bus has no owner of the name and could not start the service. */
  bool isAbsent() const { return m_absent; }

 private:
  struct StateQuery {
    const char* path;
    const char* interface;
    bool (ServiceWatch::*read)(sd_bus_message*);
    std::list<std::unique_ptr<BusSlot>> calls;  ///< all that have no reply yet: a late reply counts too
    Clock::time_point due;
  };

  void match(const char* rule, void (ServiceWatch::*handler)(sd_bus_message*));
  void findOwner();
  void provokeStart();
  void setOwner(const char* name);
  void ask(StateQuery& query, Clock::time_point now);
  void onNameOwnerChanged(sd_bus_message* signal);
  void onEventListSignal(sd_bus_message* signal);
  void onAlarmListSignal(sd_bus_message* signal);
  bool isFromOwner(sd_bus_message* signal) const;
  bool readEventListState(sd_bus_message* reply);
  bool readAlarmListState(sd_bus_message* reply);
  bool readSummary(sd_bus_message* message);
  bool readDetector(sd_bus_message* message);

  BusConnection& m_connection;
  ListState& m_state;
  std::vector<std::unique_ptr<BusSlot>> m_matches;
  std::unique_ptr<BusSlot> m_search;
  std::array<StateQuery, 2> m_queries;
  QByteArray m_owner;
  bool m_absent = false;
};

}  // namespace Tavroline
