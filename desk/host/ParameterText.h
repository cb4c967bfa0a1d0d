#pragma once

#include <string>

/**
 * A call's parameter structure in readable form: each field with its name, texts in quotes, handles as
 * addresses, other pointers by what they point to, arrays by their first eight elements.
 *
 * Reads what the interface lets the function read: texts up to their terminator, arrays within their bounds.
 *
 * @param function name of an external function
 * @param parameters its structure, which may be null
 * @return empty when there is no external function of that name. [any-thread]
 */
std::string parameterText(const std::string& function, const void* parameters);
