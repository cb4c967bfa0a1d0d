#pragma once

#include <QByteArray>
#include <array>

#include "ListServiceNames.h"
#include "Losses.h"

namespace Tavroline {

/**
 * Counts what happened to the messages that PLC tasks handed over to the hub.
 *
 * accepted = delivered + pending + superseded + dropped in every snapshot. Refused messages do not count as
 * accepted. A message that the hub sends again for a missing alarm (RaisedAlarms) is not counted again.
 */
struct MessageCounters {
  quint64 accepted = 0;    ///< messages that the hub has taken over
  quint64 delivered = 0;   ///< messages that the service has confirmed
  quint64 pending = 0;     ///< sent and unsent messages that may still be delivered
  quint64 superseded = 0;  ///< unsent alarm edges that later edges made superfluous, see AlarmOverflow
  quint64 dropped = 0;     ///< messages that were accepted and lost later
  quint64 refused = 0;     ///< messages that were lost at their hand-over
  Losses::Counts lost{};   ///< dropped and refused messages by cause

  quint64 count(Loss cause) const { return lost[static_cast<std::size_t>(cause)]; }

  using Values = std::array<quint64, ListServiceNames::kCounterNames.size()>;

  /** All counters in the order of ListServiceNames::kCounterNames. [any-thread] */
  Values values() const;

  /** The counters as a text for the runtime log; starts with "Books:". [any-thread] */
  QByteArray text() const;
};

}  // namespace Tavroline
