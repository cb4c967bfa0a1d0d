#pragma once

#include <stdexcept>

#include "ListServiceNames.h"

/** A call that is refused before it changed anything; answered with the bus error `name` and what(). */
class CallError : public std::runtime_error {
 public:
  explicit CallError(const char* text, const char* name = Tavroline::ListServiceNames::kErrorInvalid)
      : std::runtime_error(text), m_name(name) {}

  const char* name() const { return m_name; }

 private:
  const char* m_name;
};
