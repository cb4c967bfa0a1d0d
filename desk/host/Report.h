#pragma once

#include <list>
#include <string>

#include "CallMonitor.h"
#include "PeriodicThread.h"

/** The tables that the host prints on standard output at the end of a run. */
namespace Report {

/** The cycles of the tasks and of the hook. [init] */
void printTasks(const std::list<const PeriodicThread*>& threads);

/** The calls of each task, function by function; functions that a task did not call are left out. [init] */
void printCalls(const CallMonitor& monitor);

/** Every record of the client's message counters in the runtime log contains this text. */
constexpr char kCountersMark[] = "Books: accepted ";

/** The client's message counters from their last record; an empty record is reported as missing. [init] */
void printCounters(const std::string& record);

}  // namespace Report
