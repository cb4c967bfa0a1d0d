#pragma once

#include <functional>

#include "ListClient.h"

/**
 * Reads again and again, for --follow. The first reading throws ClientError; after it each end of service or
 * bus is said once on standard error, and reading goes on when they are back. Ends by throwing ReaderGone
 * when nobody reads standard output any more.
 */
namespace Follow {

using Call = std::function<void(ListClient& client)>;

/** Read now and after each change of the list. */
[[noreturn]] void changes(ListClient::List list, const Call& read);
/** Read now and after each interval, in seconds. */
[[noreturn]] void interval(quint32 seconds, const Call& read);

}  // namespace Follow
