#pragma once

#include <string>

#include "LineFile.h"

/**
 * The host's log: records of the runtime log, Qt messages and what --check finds, one line each.
 *
 *   2026-11-23T12:29:56.120417Z warning Oven: logevent_ext: TEXT
 *
 * Task and function are named if a call of a program caused the line.
 */
namespace HostLog {

/** Append to a file instead of standard error. Throws std::runtime_error when it cannot be opened. [init] */
void toFile(const std::string& path);

/** Write every line, repeated ones too, into a trace as well; null: no longer. [init] */
void alsoTo(const LineFile* trace);

/** Write one line; the calling thread's CallScope is its cause. Control characters become blanks.
 * @return whether it was written or counted. [any-thread] */
bool write(const std::string& level, std::string text);

/** Whether repeated lines are counted instead of written from now on, as RepeatedLines says; at first they
 * are not. Writes the numbers counted before. [init] */
void countRepeated(bool counting);

/** From now on keep a copy of the last text that contains `mark`. [init] */
void keepRecord(const std::string& mark);

/** The text kept, empty if there was none. [any-thread] */
std::string keptRecord();

}  // namespace HostLog
