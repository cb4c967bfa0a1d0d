#pragma once

#include <deque>
#include <set>

#include "ChangeSignals.h"
#include "ClientCounters.h"

/**
 * The objects of both lists on the bus: the queries that org.tavroline.ListService1.xml describes, and the
 * change signals. A query shows no change before its signal.
 *
 * Queries for a list wait until all received messages are handled; one list is built in each turn.
 */
class ListObjects {
 public:
  /** Maximum number of list queries of one connection that wait. */
  static constexpr int kMaxWaiting = 4;
  /** Maximum number of entries of one page. */
  static constexpr quint32 kMaxPage = 1000;

  /**
   * Put the objects on the bus.
   * @param bus, service, counters must outlive this object
   * @throws std::runtime_error when sd-bus refuses
   */
  ListObjects(sd_bus* bus, ListService& service, const ClientCounters& counters);

  /** Forget a connection that has ended. */
  void end(const QByteArray& name) noexcept;
  /** Answer one query for a list, and emit the signals that are due. */
  void endTurn();
  /** Milliseconds until endTurn() must be called, INT_MAX if it need not be. */
  int timeout() const { return m_queries.empty() ? m_signals.timeout() : 0; }

  ChangeSignals& changeSignals() { return m_signals; }

  static const sd_bus_vtable kEventMethods[];
  static const sd_bus_vtable kAlarmMethods[];

 private:
  using Answer = void (ListObjects::*)(sd_bus_message* call, sd_bus_message* reply);
  struct Query {
    BusMessage call;
    Answer answer;
  };

  template <Answer answer>
  static int onQuery(sd_bus_message* call, void* object, sd_bus_error* error);
  template <Answer answer>
  static int onListQuery(sd_bus_message* call, void* object, sd_bus_error* error);
  static int onAnyCall(sd_bus_message* call, void* object, sd_bus_error* error);

  void run(sd_bus_message* call, Answer answer);
  void enqueue(sd_bus_message* call, Answer answer);
  void refuseOldMethod(sd_bus_message* call);

  void getEvents(sd_bus_message* call, sd_bus_message* reply);
  void getEntries(sd_bus_message* call, sd_bus_message* reply);
  void getLanguages(sd_bus_message* call, sd_bus_message* reply);
  void getEventState(sd_bus_message* call, sd_bus_message* reply);
  void getStatistics(sd_bus_message* call, sd_bus_message* reply);
  void getCounters(sd_bus_message* call, sd_bus_message* reply);
  void getTimeZone(sd_bus_message* call, sd_bus_message* reply);
  void getAlarms(sd_bus_message* call, sd_bus_message* reply);
  void getAlarmState(sd_bus_message* call, sd_bus_message* reply);
  void getAlarmListState(sd_bus_message* call, sd_bus_message* reply);

  ListService& m_service;
  const ClientCounters& m_counters;
  ChangeSignals m_signals;
  std::deque<Query> m_queries;
  std::set<QByteArray> m_oldPeers;  ///< connections that called a method of an older version
};
