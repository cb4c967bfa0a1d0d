#pragma once

#include <string>

#include "HostLog.h"

/**
 * The runtime functions that a component looks up by name at import: the log, two memory helpers and files.
 * Their signatures are those of CodesysRuntime.h.
 */
namespace RuntimeFunctions {

/** @return the address of the function of that name, null if the host has none. [any-thread] */
void* find(const std::string& name);

/** The same as HostLog::toFile(). [init] */
inline void logToFile(const std::string& path) {
  HostLog::toFile(path);
}

}  // namespace RuntimeFunctions
