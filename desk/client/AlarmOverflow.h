#pragma once

#include <QByteArray>
#include <list>
#include <map>
#include <optional>

#include "AlarmEdge.h"

namespace Tavroline {

/**
 * The overflow: edges (see AlarmEdge) for which the ring of MessageQueue had no room, in the order of their
 * hand-over.
 *
 * It keeps at most two edges of an alarm, the oldest and the newest. A third edge replaces the second one. If
 * the third edge turns the alarm the same way as the first one, the overflow keeps the first one alone. The
 * removed edges are called superseded.
 *
 * MessageQueue calls add(), takeFirst() and takeUsed() under its mutex. They therefore neither allocate nor
 * free memory: PLC tasks pass it in and out as Nodes. PLC tasks free what PLC tasks have allocated.
 */
class AlarmOverflow {
 public:
  /** Maximum number of alarms that have edges here. */
  static constexpr std::size_t kAlarms = 4096;

  struct Edge {
    QByteArray alarmId;
    QByteArray message;
    qint64 handedOverAt;
    bool on;

    std::string_view bytes() const { return {message.constData(), static_cast<std::size_t>(message.size())}; }
  };
  using Edges = std::list<Edge>;

  /** Memory of edges that are not in the overflow: they are to be added, or to be freed. */
  class Nodes {
    friend class AlarmOverflow;
    Edges m_edges;
    struct Kept {
      Edges::iterator first;
      Edges::iterator last;
    };
    std::multimap<QByteArray, Kept> m_alarms;
  };

  /** A copy of an edge, for add(). @throws std::bad_alloc. [plc-task] */
  static Nodes copyOf(const AlarmEdge& edge, qint64 handedOverAt);

  /**
   * Add an edge, which is newer than all edges here.
   * @param edge from copyOf(); receives the memory that the caller must free, also that of superseded edges
   * @return number of edges that this call superseded; the new edge counts if it was not kept. nullopt if it
   * was not added because kAlarms other alarms have edges here. [plc-task]
   */
  std::optional<int> add(Nodes& edge);

  /** Move the memory of up to two edges that takeFirst() has removed into `used`, for the caller to free.
   * [plc-task] */
  void takeUsed(Nodes& used);

  /** All edges, the oldest first. [hub] */
  const Edges& edges() const { return m_edges; }
  bool isEmpty() const { return m_edges.empty(); }

  /** Remove the oldest edge; there must be one. [hub] */
  void takeFirst();

 private:
  Edges m_edges;
  std::map<QByteArray, Nodes::Kept> m_alarms;
  Nodes m_used;
};

}  // namespace Tavroline
