#pragma once

#include <QString>
#include <array>

#include "ListServiceNames.h"
#include "Message.h"

namespace Tavroline {

/** Why a message was lost: refused at its hand-over, or accepted and dropped later. */
enum class Loss {
  QueueFull,   ///< refused: the queue is full, for an alarm edge also the overflow
  NoMemory,    ///< refused: memory allocation failed
  Unsendable,  ///< dropped: too large, nested too deep, of a type that cannot be sent, or sd-bus had no
               ///< memory
  Rejected,    ///< dropped: the service or the bus replied with an error, other than kErrorStorage
  Unanswered,  ///< dropped: no reply within 30 s
  Unload       ///< dropped: not confirmed when the library was unloaded
};
constexpr std::size_t kLossCauses = 6;

/**
 * Counters of what happened to the messages that were handed to the hub.
 *
 * accepted = delivered + pending + superseded + dropped(), in every snapshot of the outbox. Refused messages
 * were never accepted and are not part of it. Alarms that are replayed to a new owner of the service's name
 * are not counted.
 */
struct Books {
  quint64 accepted = 0;
  quint64 delivered = 0;   ///< confirmed by the service
  quint64 pending = 0;     ///< neither confirmed nor dropped yet, sent or unsent
  quint64 superseded = 0;  ///< unsent alarm edges that later edges made superfluous, see AlarmRoom
  std::array<quint64, kLossCauses> lost{};

  /** The sums of `lost` over the causes that refuse, and over those that drop. [any-thread] */
  quint64 refused() const;
  quint64 dropped() const;
  quint64 count(Loss cause) const { return lost[static_cast<std::size_t>(cause)]; }

  using Figures = std::array<quint64, ListServiceNames::kBookFigures.size()>;

  /** All counters in the order of ListServiceNames::kBookFigures. [any-thread] */
  Figures figures() const;

  /** The counters as a text for the runtime log; starts with "Books:". [any-thread] */
  QString text() const;
};

/** Messages lost for one cause with less than a second (Outbox::kGapPause) from each to the next. One gap
 * gives one record in the runtime log. */
struct Gap {
  quint64 count = 0;
  quint64 firstSequence = 0;   ///< lowest sequence number
  quint64 lastSequence = 0;    ///< highest sequence number
  qint64 firstTime = 0;        ///< earliest hand-over, ms since 1970-01-01 00:00:00 UTC
  qint64 lastTime = 0;         ///< latest hand-over, as firstTime
  Clock::time_point lastLoss;  ///< when the latest of these messages was lost

  /** Count one more lost message. [any-thread] */
  void add(const Message& message, Clock::time_point now);

  /** The gap as a text for the runtime log: number of messages, cause, sequence numbers and hand-over times.
   * [any-thread] */
  QString text(Loss cause) const;
};

}  // namespace Tavroline
