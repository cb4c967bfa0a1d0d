#pragma once

#include <QByteArray>
#include <array>
#include <memory>
#include <vector>

#include "BusConnection.h"
#include "ListState.h"
#include "Losses.h"

namespace Tavroline {

/**
 * Finds the owner of the service's name, which is the bus connection of the running service. Asks the bus to
 * start the service if the name has no owner.
 *
 * Keeps ListState up to date: queries the state of the lists from each new owner, then follows the owner's
 * signals. Also queries the service's time zone, and logs once if it differs from that of this program. [hub]
 */
class ServiceWatch {
 public:
  ServiceWatch(BusConnection& connection, ListState& state);

  /** Ask the bus for signals and for the owner. The connection must be ready. @throws as
   * BusConnection::call() */
  void start();

  /** Forget the owner and discard the outstanding calls, because the connection ends. ListState keeps its
   * values. */
  void stop() noexcept;

  bool isStarted() const { return !m_matches.empty(); }

  /** Ask the bus to start the service if its name has no owner: once on a new connection, later only if
   * `needed` is set. The pause before the next attempt doubles from 0.25 to 30 s. The pause is skipped after
   * the service has run for 10 s.
   * @param needed whether messages or requests wait for the service
   * @throws as BusConnection::call() */
  void activateService(Clock::time_point now, bool needed);

  /** Send the due state queries to the owner. A query is due when the owner is new, and 0.5 s after an error
   * reply or a malformed reply. @throws as BusConnection::call() */
  void sendDueQueries(Clock::time_point now);

  /** Unique bus name of the owner; empty if the service's name has no owner or the owner is not known yet. */
  const QByteArray& owner() const { return m_owner; }

  /** Whether the service's name is known to have no owner, and the bus is not starting the service. */
  bool isAbsent() const { return isStarted() && m_owner.isEmpty() && m_search == nullptr; }

 private:
  struct StateQuery {
    BusMethod method;
    bool (ServiceWatch::*read)(sd_bus_message*);
    std::unique_ptr<BusSlot> call{};  ///< the outstanding call; null if no call is outstanding
    Clock::time_point due{};          ///< earliest time of the next query
  };

  void match(const char* rule, void (ServiceWatch::*handler)(sd_bus_message*));
  void findOwner();
  void setOwner(const QByteArray& name);
  void ask(StateQuery& query);
  void onNameOwnerChanged(sd_bus_message* signal);
  void onListSignal(sd_bus_message* signal);
  bool readEventListState(sd_bus_message* reply);
  bool readAlarmListState(sd_bus_message* reply);
  bool readTimeZone(sd_bus_message* reply);
  bool readSummary(sd_bus_message* message);
  bool readDetector(sd_bus_message* message);

  BusConnection& m_connection;
  ListState& m_state;
  std::vector<std::unique_ptr<BusSlot>> m_matches;
  std::unique_ptr<BusSlot> m_search;  ///< call that asks the bus for the owner, or to start the service
  std::array<StateQuery, 3> m_queries;
  QByteArray m_owner;
  bool m_new = false;       ///< the service was not activated yet on this connection
  bool m_zoneTold = false;  ///< a difference between the time zones was logged
  Clock::time_point m_ownedSince;
  Clock::time_point m_nextStart;   ///< earliest time to ask the bus again to start the service
  Clock::duration m_startPause{};  ///< last pause before m_nextStart
};

}  // namespace Tavroline
