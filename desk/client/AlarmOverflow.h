#pragma once

#include <QtGlobal>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "AlarmEdge.h"

namespace Tavroline {

/**
 * Keeps the alarm edges (AlarmEdge) for which the ring of MessageQueue has no room, in the order of their
 * hand-over.
 *
 * The overflow keeps at most two edges of an alarm, the oldest and the newest. A third edge replaces the
 * second edge. If the third edge turns the alarm the same way as the first edge, the overflow removes the
 * second edge and does not add the third edge. Edges that the overflow removes or does not add by this rule
 * are called superseded.
 *
 * MessageQueue calls add(), takeFirst() and takeUsed() while it holds its mutex, so these functions neither
 * allocate nor free memory. PLC tasks allocate the memory of an edge in copyOf(). add() and takeUsed() return
 * unused memory to PLC tasks, which free it.
 */
class AlarmOverflow {
 public:
  /** Maximum number of alarms that have edges in the overflow. */
  static constexpr std::size_t kAlarms = 4096;

  struct Edge {
    std::string alarmId;
    std::string message;
    qint64 handedOverAt;  ///< ms since 1970-01-01 00:00:00 UTC
    bool on;
  };
  using Edges = std::list<Edge>;

  /** Owns edges that are not in the overflow: new edges, or removed edges whose memory must be freed. */
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
   * Add an edge that is newer than all edges in the overflow.
   * @param edge the edge, made by copyOf(). After the call it holds memory that the overflow no longer uses;
   * the caller frees it.
   * @return number of edges that this call superseded. The new edge is one of them if the first kept edge of
   * its alarm has the same direction: then it was not added.
   * nullopt if the overflow has no room, because it holds edges of kAlarms other alarms. [plc-task]
   */
  std::optional<int> add(Nodes& edge);

  /** Move up to two of the edges that takeFirst() has removed to `used`. The caller must free their memory.
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
  Nodes m_used;  ///< removed edges whose memory was not freed yet
};

}  // namespace Tavroline
