#pragma once

#include <QString>
#include <array>

#include "ListServiceNames.h"
#include "Message.h"

namespace Tavroline {

/**
 * Counters of what happened to the messages that were handed to the hub.
 *
 * accepted = delivered + pending + superseded + dropped() always holds. Refused messages were never accepted
 * and are not part of it. Alarms that are sent again to a new owner of the service are not counted.
 */
enum class Loss {
  QueueFull,   ///< refused: queue and overflow are full
  NoMemory,    ///< refused: memory allocation failed
  Unsendable,  ///< dropped: too large, or of a type that the bus cannot transport
  Rejected,    ///< dropped: the service or the bus answered with an error
  Unanswered,  ///< dropped: no answer within its deadline
  Unload       ///< dropped: the library was unloaded first
};
constexpr std::size_t kLossCauses = 6;

struct Books {
  quint64 accepted = 0;
  quint64 delivered = 0;  ///< confirmed by the service
  quint64 pending = 0;
  quint64 superseded = 0;  ///< alarm edges that cancelled each other out before they were sent
  std::array<quint64, kLossCauses> lost{};

  /** [any-thread] */
  quint64 refused() const;
  quint64 dropped() const;
  quint64 count(Loss cause) const { return lost[static_cast<std::size_t>(cause)]; }

  using Figures = std::array<quint64, ListServiceNames::kBookFigures.size()>;

  /** All counters in the order of ListServiceNames::kBookFigures. [any-thread] */
  Figures figures() const;

  /** Text of the log record "Books:". [any-thread] */
  QString text() const;
};

/** Messages lost for one cause in quick succession; one gap gives one log record. */
struct Gap {
  quint64 count = 0;
  quint64 firstSequence = 0;
  quint64 lastSequence = 0;
  qint64 firstTime = 0;  ///< of the first hand-over, ms since 1970-01-01 00:00:00 UTC
  qint64 lastTime = 0;
  Clock::time_point lastLoss;

  /** Count one more lost message. [any-thread] */
  void add(const Message& message, Clock::time_point now);

  /** Text of the log record "… message(s) lost". [any-thread] */
  QString text(Loss cause) const;
};

}  // namespace Tavroline
