#pragma once

#include <stdexcept>

#include "ListServiceNames.h"

/** Refuses a call that has changed nothing. The reply is the bus error name() with the text what(). */
class CallError : public std::runtime_error {
 public:
  explicit CallError(const char* text, const char* name = Tavroline::ListServiceNames::kErrorInvalid)
      : std::runtime_error(text), m_name(name) {}

  const char* name() const { return m_name; }

 private:
  const char* m_name;
};
