#pragma once

#include <QString>
#include <list>
#include <map>

#include "Message.h"

namespace Tavroline {

/**
 * Room of their own for alarm edges that the common queue has none for, in the order of their numbers.
 *
 * Of each alarm it keeps the first unsent edge and the last one at most; when a third arrives, the edges in
 * between have cancelled out and are superseded. For that to be true, all later edges of an alarm must come
 * here as long as it has one here. Not locked: the outbox does that.
 */
class AlarmRoom {
 public:
  static constexpr std::size_t kAlarms = 4096;

  /**
   * Take in the one edge of `edge`. Superseded edges (the given one may be among them) go to `superseded`.
   * @return false when there is no room for one more alarm; `edge` is left as it was then
   * @throws std::bad_alloc with nothing changed. [any-thread]
   */
  bool admit(std::list<Message>& edge, std::list<Message>& superseded);

  /** The last edge that is kept of an alarm; null for none. [any-thread] */
  const Message* last(const QString& alarmId) const;

  /** The edge with the lowest number; null when the room is empty. [any-thread] */
  const Message* first() const { return m_edges.empty() ? nullptr : &m_edges.front(); }

  /** Move first() into `target` in front of `before`. [hub] */
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
