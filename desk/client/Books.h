#pragma once

#include <QString>
#include <array>

#include "ListServiceNames.h"
#include "Message.h"

namespace Tavroline {

/**
 * The books of the hub: what became of every message that was handed over.
 *
 * At every moment accepted = delivered + pending + superseded + dropped(). Refused messages never were
 * accepted and stand beside that equation. Alarms that are raised again are in no books.
 */
enum class Loss {
  QueueFull,   ///< refused: no room
  NoMemory,    ///< refused: no memory for it
  Unsendable,  ///< dropped: too large or of a form that the bus does not carry
  Rejected,    ///< dropped: the service or the bus answered with an error
  Unanswered,  ///< dropped: no answer within its deadline
  Unload       ///< dropped: the library went before it could be sent
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

  /** All of them in the order of their names, ListServiceNames::kBookFigures. [any-thread] */
  Figures figures() const;

  /** The text of their record. [any-thread] */
  QString text() const;
};

/** One gap: messages lost for one cause without a pause in between, reported as one record. */
struct Gap {
  quint64 count = 0;
  quint64 firstSequence = 0;
  quint64 lastSequence = 0;
  qint64 firstTime = 0;  ///< of hand-over, milliseconds since 1970-01-01 00:00:00 UTC
  qint64 lastTime = 0;
  Clock::time_point lastLoss;

  /** Note one more lost message. [any-thread] */
  void add(const Message& message, Clock::time_point now);

  /** The text of its record. [any-thread] */
  QString text(Loss cause) const;
};

}  // namespace Tavroline
