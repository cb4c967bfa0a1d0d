#pragma once

#include <cstdint>

namespace Tavroline {

/** Results of DBusPendingReply::isFinished(). While a reply is polled, any other number is a failure too. */
enum ReplyState : int { ReplyArrived = 0, ReplyFailed = 1, ReplyOutstanding = 2 };

}  // namespace Tavroline

/** Results of polled operations, as the iResult fields show them; ResultBusy: call again. */
enum : std::int16_t { ResultDone = 0, ResultBusy = 1, ResultError = 2 };
