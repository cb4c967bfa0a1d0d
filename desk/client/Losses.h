#pragma once

#include <QByteArray>
#include <array>
#include <chrono>

namespace Tavroline {

using Clock = std::chrono::steady_clock;

/** Why a message was lost. A refused message was lost at its hand-over. A dropped message was accepted and
 * lost later. */
enum class Loss {
  Rejected,     ///< dropped: the service refused the message for good
  EndsService,  ///< dropped: the service ended each time the message was sent alone
  Unload,       ///< dropped: the message was not confirmed when the library was unloaded
  QueueFull,    ///< refused: the queue had no room
  NoMemory,     ///< refused: memory allocation failed
  Unsendable    ///< refused: too long, nested too deep, or of a type that cannot be encoded
};
constexpr std::size_t kDropCauses = 3;  ///< number of causes of dropped messages (the first three)
constexpr std::size_t kLossCauses = 6;

/** A gap is a series of messages that were lost for the same cause, each of them soon after the message
 * before it. The runtime log receives one record for each gap. */
struct Gap {
  quint64 count = 0;
  quint64 firstNumber = 0;      ///< lowest number of the messages (see MessageQueue); 0 if they were refused
  quint64 lastNumber = 0;       ///< highest number of the messages; 0 if they were refused
  qint64 firstTime = 0;         ///< when a PLC task handed over the earliest message, ms since 1970-01-01 UTC
  qint64 lastTime = 0;          ///< when a PLC task handed over the latest message, ms since 1970-01-01 UTC
  Clock::time_point firstLoss;  ///< when the first of the messages was lost
  Clock::time_point lastLoss;   ///< when the last of the messages was lost

  /** Describe the gap for the runtime log.
   * @param cause numeric value of the enumerator of Loss. [any-thread] */
  QByteArray text(std::size_t cause) const;
};

/** Counts lost messages by their cause and collects them into gaps. MessageQueue holds its mutex while it
 * calls the functions. */
class Losses {
 public:
  /** A gap ends kGapPause after its last loss, but at the latest kLongestGap after its first loss. */
  static constexpr std::chrono::seconds kGapPause{1};
  static constexpr std::chrono::seconds kLongestGap{60};

  using Counts = std::array<quint64, kLossCauses>;
  using Gaps = std::array<Gap, kLossCauses>;  ///< index: the cause; Gap::count is 0 for a cause without gap

  /** Count a lost message. @param number the message's number; 0 if the message was refused.
   * @param handedOverAt ms since 1970-01-01 00:00:00 UTC. [any-thread] */
  void add(Loss cause, quint64 number, qint64 handedOverAt) noexcept;

  const Counts& counts() const { return m_counts; }

  /** Remove and return the gaps that have had no loss for a second before `now`, or all gaps if `all` is set.
   * [hub] */
  Gaps takeEnded(Clock::time_point now, bool all);

 private:
  Counts m_counts{};
  Gaps m_gaps{};
};

}  // namespace Tavroline
