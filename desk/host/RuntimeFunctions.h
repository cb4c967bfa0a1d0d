#pragma once

#include <string>

/**
 * The runtime functions that a component looks up by name at import: the log, two memory helpers and files.
 * Their signatures are those of CodesysRuntime.h.
 */
namespace RuntimeFunctions {

/** @return the function of that name as a component stores it, null when there is none. [any-thread] */
void* find(const std::string& name);

/**
 * Append the log's records to a file from now on; until then they go to standard error. Throws
 * std::runtime_error when the file cannot be opened. [init]
 */
void logToFile(const std::string& path);

/** Keep the last of the records that contain `mark` from now on. [init] */
void keepRecord(const std::string& mark);

/** The record kept, empty when none has come. [any-thread] */
std::string keptRecord();

}  // namespace RuntimeFunctions
