#pragma once

#include <string>
#include <vector>

#include "tavroline/conventions.h"

/**
 * What the interface's description says of a call's parameter structure, beside its form: rules for the
 * values of input fields, and the handle that the call opens or closes.
 */
namespace ParameterCheck {

/**
 * Misuse that the function accepts, or refuses without the field's name: null structures, handles and
 * addresses, bounds that are inverted or huge, elements without a size, arrays without room, codes without a
 * meaning, a range of times that ends before it begins. Structures that a field points to are checked too,
 * those of an array within its bounds.
 *
 * @param function name of an external function
 * @param parameters its structure before the call, which may be null
 * @return one text per misuse that begins with the field's name. [any-thread]
 */
std::vector<std::string> misuses(const std::string& function, const void* parameters);

/** The handle in the structure and what the function does with it. */
struct HandleUse {
  enum class Kind { None, Opens, Closes } kind = Kind::None;
  const char* field = "";
  TavrolineHandle handle = nullptr;
};

/** @param parameters the structure, before the call of a function that closes, after that of one that opens.
 * [any-thread] */
HandleUse handleUse(const std::string& function, const void* parameters);

}  // namespace ParameterCheck
