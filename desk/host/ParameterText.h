#pragma once

#include <string>

/**
 * A call's parameter structure in readable form: each field by its name, texts in quotes,
 * structures and arrays behind pointers with what they hold.
 *
 * It reads what the interface says a function may read: texts up to their terminator, arrays within their
 * bounds.
 *
 * @param function name of an external function
 * @param parameters its structure, which may be null
 * @return empty when no function of that name is known here. [any-thread]
 */
std::string parameterText(const std::string& function, const void* parameters);
