#pragma once

#include <cstdint>

namespace Tavroline {

/** What DBusPendingReply::isFinished() answers. Any other number of a reply that was kept means failure too.
 */
enum ReplyState : int { ReplyArrived = 0, ReplyFailed = 1, ReplyOutstanding = 2 };

}  // namespace Tavroline

/** Results of polled operations, as they go into the iResult fields; ResultBusy: call again. */
enum PollResult : std::int16_t { ResultDone = 0, ResultBusy = 1, ResultError = 2 };
