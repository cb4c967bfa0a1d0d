#pragma once

#include <list>
#include <string>

#include "CallMonitor.h"
#include "PeriodicThread.h"

/** What the host tells of a run at its end, on standard output. */
namespace Report {

/** The cycles of the tasks and of the hook. [init] */
void printTasks(const std::list<const PeriodicThread*>& threads);

/** The calls of each task, function by function; functions that a task did not call are left out. [init] */
void printCalls(const CallMonitor& monitor);

/** The mark by which the record of the books is known in the runtime log. */
constexpr char kBooksMark[] = "Books: accepted ";

/** The books of the client from their last record; says so when there was none. [init] */
void printBooks(const std::string& record);

}  // namespace Report
