#pragma once

#include <QString>
#include <list>
#include <map>

#include "Message.h"

namespace Tavroline {

/**
 * The overflow: holds unsent edges of alarms and faults, ordered by sequence number, that found the outbox's
 * queue full.
 *
 * It keeps at most two edges of an alarm, the first unsent one and the last one. A third edge supersedes the
 * second one, and also itself if it turns the alarm the same way as the first. While it holds an edge of an
 * alarm, the outbox must add all later edges of that alarm here too. The outbox locks; this class does not.
 */
class AlarmRoom {
 public:
  /** Maximum number of alarms that have edges here. */
  static constexpr std::size_t kAlarms = 4096;

  /**
   * Add an edge.
   * @param edge list of exactly one edge, the newest; it is moved out if the result is true
   * @param superseded receives the superseded edges; the added one may be among them
   * @return false when kAlarms alarms have edges here already; `edge` is then unchanged
   * @throws std::bad_alloc with nothing changed. [any-thread]
   */
  bool admit(std::list<Message>& edge, std::list<Message>& superseded);

  /** The last edge held of this alarm, null if there is none. [any-thread] */
  const Message* last(const QString& alarmId) const;

  /** The edge with the lowest sequence number, null if there is none. [any-thread] */
  const Message* first() const { return m_edges.empty() ? nullptr : &m_edges.front(); }

  /** Move first(), which must not be null, into `target` before the position `before`. [hub] */
  void moveFirst(std::list<Message>& target, std::list<Message>::iterator before);

  std::size_t size() const { return m_edges.size(); }

 private:
  using Edge = std::list<Message>::iterator;
  struct Kept {
    Edge first;
    Edge last;
  };

  std::list<Message> m_edges;
  std::map<QString, Kept> m_alarms;
};

}  // namespace Tavroline
