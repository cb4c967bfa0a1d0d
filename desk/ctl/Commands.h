#pragma once

#include "Arguments.h"
#include "ListClient.h"

/** The commands of tavroline-ctl; with --follow they run until the reader ends. Results go to stdout. Each
 * throws ClientError. */
namespace Commands {

void showEvents(const Arguments& arguments);
void showAlarms(const Arguments& arguments);

/** Write the event list in a format for other programs, the oldest entry first. */
void exportEvents(const Arguments& arguments);

// What changes the lists; each leaves an entry of the audit trail with the user's name.
void log(const Arguments& arguments);
void raise(const Arguments& arguments);
void clear(const Arguments& arguments);
void acknowledge(const Arguments& arguments);
void acknowledgeDetector(const Arguments& arguments);
void deleteEvents(const Arguments& arguments);

/** Show the counters and flags of the service and the message counters of its clients: once, or with their
 * rates after each interval. */
void showStatistics(const Arguments& arguments);

/** Print one line for each check: OK, or the fault and its remedy. Changes nothing. Throws ClientError if a
 * check finds a fault. */
void diagnose(const Arguments& arguments);

}  // namespace Commands
