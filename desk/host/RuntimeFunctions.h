#pragma once

#include <string>

/**
 * The runtime functions that a component looks up by name at import: the log, two memory helpers and files.
 * Their signatures are those of CodesysRuntime.h.
 */
namespace RuntimeFunctions {

/** @return the address of the function of that name, null if the host has none. [any-thread] */
void* find(const std::string& name);

}  // namespace RuntimeFunctions
