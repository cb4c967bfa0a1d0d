#pragma once

#include <QByteArray>
#include <array>
#include <chrono>

namespace Tavroline {

using Clock = std::chrono::steady_clock;

/** Why a message was lost: refused at its hand-over, or accepted and dropped later. */
enum class Loss {
  Rejected,     ///< dropped: the service refused it for good
  EndsService,  ///< dropped: the service ended each time this message was sent alone
  Unload,       ///< dropped: not confirmed when the library was unloaded
  QueueFull,    ///< refused: the queue is full, for an alarm edge also the overflow
  NoMemory,     ///< refused: memory allocation failed
  Unsendable    ///< refused: too long, nested too deep, or a value's type cannot be encoded
};
constexpr std::size_t kDropCauses = 3;  ///< number of causes of dropped messages, which come first
constexpr std::size_t kLossCauses = 6;

/** A gap: a series of messages lost for one cause, see Losses::kGapPause. The runtime log receives one record
 * per gap. */
struct Gap {
  quint64 count = 0;
  quint64 firstNumber = 0;      ///< lowest number (see MessageQueue); 0 for refused messages
  quint64 lastNumber = 0;       ///< highest number
  qint64 firstTime = 0;         ///< earliest hand-over, ms since 1970-01-01 00:00:00 UTC
  qint64 lastTime = 0;          ///< latest hand-over, as firstTime
  Clock::time_point firstLoss;  ///< when the first of these messages was lost
  Clock::time_point lastLoss;   ///< when the last one was lost

  /** The gap as a text for the runtime log. [any-thread] */
  QByteArray text(std::size_t cause) const;
};

/** Counts lost messages by cause, and collects them into gaps. MessageQueue's mutex guards it. */
class Losses {
 public:
  /** A gap ends kGapPause after its last loss, but at the latest kLongestGap after its first loss. */
  static constexpr std::chrono::seconds kGapPause{1};
  static constexpr std::chrono::seconds kLongestGap{60};

  using Counts = std::array<quint64, kLossCauses>;
  using Gaps = std::array<Gap, kLossCauses>;  ///< by cause; count is 0 without a gap

  /** @param number of the message, 0 if it was refused. @param handedOverAt as Gap::firstTime. [any-thread]
   */
  void add(Loss cause, quint64 number, qint64 handedOverAt) noexcept;

  const Counts& counts() const { return m_counts; }

  /** Remove and return the gaps that have ended; with `all`, all gaps. [hub] */
  Gaps takeEnded(Clock::time_point now, bool all);

 private:
  Counts m_counts{};
  Gaps m_gaps{};
};

}  // namespace Tavroline
