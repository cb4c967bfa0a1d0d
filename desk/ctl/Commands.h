#pragma once

#include "Arguments.h"

/**
 * Carry out one command of tavroline-ctl; what it shows goes to stdout. Following a list ends with the
 * process. Throws ClientError. [any-thread]
 */
void runCommand(const Arguments& arguments);
