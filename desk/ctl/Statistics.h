#pragma once

#include "Arguments.h"
#include "ListClient.h"

/**
 * Show the counters and flags of the service and the books of its clients, once, or with their rates from
 * reading to reading. Going on ends with the process. Throws ClientError. [any-thread]
 */
void showStatistics(ListClient& client, const Arguments& arguments);
