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
 * Finds out who owns the service's name, and keeps the state of the lists (ListState) up to date.
 *
 * It queries the state from each new owner; from then on the owner's signals update it. The messages and
 * requests of the outbox are sent by Courier. [hub]
 */
class ServiceWatch {
 public:
  ServiceWatch(BusConnection& connection, ListState& state);

  /** Install the matches and ask the bus for the owner; if there is none, make the bus start the service if
   * it can. The connection must be ready. */
  void start();

  /** Discard owner, matches and calls of the present connection. ListState keeps what was reported last. */
  void stop();

  bool isStarted() const { return !m_matches.empty(); }

  /** Send the state queries that are due: the first ones to a new owner, and each again until it has a valid
   * reply.
   * @return false when more than 10 of one list have no reply. */
  bool keep(Clock::time_point now);

  /** Unique name of the owner, empty while there is none or while it is not known yet. */
  const QByteArray& owner() const { return m_owner; }

  /** Whether the name is known to have no owner: the last owner has gone, or there was none and the bus could
   * not start the service. */
  bool isAbsent() const { return m_absent; }

 private:
  struct StateQuery {
    const char* path;
    const char* interface;
    bool (ServiceWatch::*read)(sd_bus_message*);
    /** All calls to the present owner that have no reply yet: a late reply counts too. */
    std::list<std::unique_ptr<BusSlot>> calls;
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
