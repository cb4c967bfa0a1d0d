#pragma once

#include "Arguments.h"
#include "ListClient.h"

/** The commands of tavroline-ctl. Results go to stdout. Each throws ClientError. */
namespace Commands {

/** Carry out the command of these arguments; --follow runs until the process is ended. */
void run(const Arguments& arguments);

/** Carry out a command that changes the lists. Each leaves an entry of the audit trail with the user's name.
 */
void change(const Arguments& arguments);

/** The entries of a list reply; reports on stderr if the service had to leave out older ones. */
QJsonArray entriesOf(const QJsonObject& reply);

/** Write the event list in a format for other programs, the oldest entry first. */
void exportEvents(const Arguments& arguments);

/** Show the counters and flags of the service and the message counters of its clients: once, or with their
 * rates after each interval. */
void showStatistics(const Arguments& arguments);

/** Check bus, service, policy, interface version and clock, in this order, and print one line for each: OK,
 * or the fault and its remedy. Changes nothing. Throws ClientError if a check finds a fault. */
void diagnose(bool json);

}  // namespace Commands
