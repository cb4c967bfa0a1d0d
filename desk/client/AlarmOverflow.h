#pragma once

#include <QtGlobal>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "AlarmEdge.h"

namespace Tavroline {

/**
 * The alarm edges (AlarmEdge) for which the ring of MessageQueue has no room, in the order of their
 * hand-over.
 *
 * The overflow keeps at most two edges of an alarm, the oldest and the newest. A third edge replaces the
 * second one. If the third edge turns the alarm the same way as the first one, the overflow keeps the first
 * one alone. The edges that are removed by this rule, or not added, are called superseded.
 *
 * MessageQueue calls add(), takeFirst() and takeUsed() under its mutex, so they neither allocate nor free
 * memory. PLC tasks allocate the memory in copyOf() and later free it: add() and takeUsed() return it to
 * them.
 */
class AlarmOverflow {
 public:
  /** Maximum number of alarms that have edges here. */
  static constexpr std::size_t kAlarms = 4096;

  struct Edge {
    std::string alarmId;
    std::string message;
    qint64 handedOverAt;  ///< ms since 1970-01-01 00:00:00 UTC
    bool on;
  };
  using Edges = std::list<Edge>;

  /** Memory of edges that are not in the overflow: either not added yet, or removed and to be freed. */
  class Nodes {
    friend class AlarmOverflow;
    struct Kept {
      Edges::iterator first;
      Edges::iterator last;
    };
    Edges m_edges;
    std::multimap<std::string, Kept> m_alarms;
  };

  /** Copy an edge for add(). @throws std::bad_alloc. [plc-task] */
  static Nodes copyOf(const AlarmEdge& edge, qint64 handedOverAt);

  /**
   * Add an edge, which is newer than all edges here.
   * @param edge from copyOf(); receives the memory that the caller must free
   * @return number of edges that this call superseded, the new edge included if it was not added; nullopt if
   * kAlarms other alarms have edges here. [plc-task]
   */
  std::optional<int> add(Nodes& edge);

  /** Move the memory of up to two edges, which takeFirst() has removed, to `used`. The caller must free it.
   * [plc-task] */
  void takeUsed(Nodes& used);

  /** All edges, the oldest first. [hub] */
  const Edges& edges() const { return m_edges; }
  bool isEmpty() const { return m_edges.empty(); }

  /** Remove the oldest edge. The overflow must not be empty. [hub] */
  void takeFirst();

 private:
  Edges m_edges;
  std::map<std::string, Nodes::Kept> m_alarms;
  Nodes m_used;  ///< memory that takeFirst() has removed
};

}  // namespace Tavroline
