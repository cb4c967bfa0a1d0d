#pragma once

#include <string>

/**
 * The runtime functions that a component looks up by name at import: the log, two memory helpers and files.
 * Their signatures are those of CodesysRuntime.h.
 */
namespace RuntimeFunctions {

/** @return the address of the function of that name, null if the host has none. [any-thread] */
void* find(const std::string& name);

/**
 * Append the log's records to a file instead of standard error. Throws std::runtime_error when the file
 * cannot be opened. [init]
 */
void logToFile(const std::string& path);

/** From now on keep a copy of the last log record that contains `mark`. [init] */
void keepRecord(const std::string& mark);

/** The record kept, empty if there was none. [any-thread] */
std::string keptRecord();

}  // namespace RuntimeFunctions
