#pragma once

#include "Arguments.h"
#include "ListClient.h"

/**
 * Carry out one command of tavroline-ctl; what it shows goes to stdout. Following a list ends with the
 * process.
 * @throws ClientError. [any-thread]
 */
void runCommand(ListClient& client, const Arguments& arguments);
