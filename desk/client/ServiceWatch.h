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
 * Who owns the service's name, and the state of its lists: match rules, owner and state queries.
 *
 * The state is asked for after every connection and every new owner; signals keep it up to date. It sends no
 * messages and knows no connectors. [hub]
 */
class ServiceWatch {
 public:
  ServiceWatch(BusConnection& connection, ListState& state);

  /** Subscribe and look for the owner, on a connection that has become ready. */
  void start();

  /** Forget all that belongs to the present connection. */
  void stop();

  bool isStarted() const { return !m_matches.empty(); }

  /** Ask again for a state that is owed. @return false when the owner has left too many queries unanswered.
   */
  bool keep(Clock::time_point now);

  /** The owner's unique name, empty while there is none or it is not known. */
  const QByteArray& owner() const { return m_owner; }

  /** The bus knows of no owner and could not start the service. */
  bool isAbsent() const { return m_absent; }

 private:
  struct StateQuery {
    const char* path;
    const char* interface;
    bool (ServiceWatch::*read)(sd_bus_message*);
    std::list<std::unique_ptr<BusSlot>> calls;  ///< unanswered, all of them: a slow answer is one, too
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
