#pragma once

#include <functional>

#include "HandleCheck.h"
#include "ReplyState.h"
#include "RuntimeLog.h"
#include "TavrolineConvenienceFunctions.h"

/**
 * Building blocks of the external functions: a guard, the result field, calls on a reader. Each function
 * checks its structure, takes the object behind its handle, calls one operation and stores the result.
 */
namespace Tavroline {

/** The Origin inside name_ext; its source file declares kFile. */
#define ORIGIN(name) (Tavroline::Origin{kFile, "void " #name "_ext(" #name "_struct*)", __LINE__})

/** Runs `body`; an exception ends here as one record. The guard of all functions that the runtime
 * calls. [any-thread] */
template <typename Body>
void externalFunction(const Origin& origin, Body body) noexcept {
  reportExceptions(origin.file, origin.signature, body, origin.line);
}

/** An iResult field, written once when this object ends, so that no other task sees a value in between. */
class Result {
 public:
  explicit Result(RTS_IEC_INT& field) : m_field(field) {}
  ~Result() { m_field = m_value; }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  void operator=(RTS_IEC_INT value) { m_value = value; }

 private:
  RTS_IEC_INT& m_field;
  RTS_IEC_INT m_value = ResultError;  ///< also after an exception
};

/** A function on a reader without a result: calls `operation(*reader)`, often a member function. [plc-task]
 */
template <typename Reader, typename Parameters, typename Operation>
void onReader(const Origin& origin, const Parameters* parameters, Operation operation) noexcept {
  externalFunction(origin, [&] {
    Reader* const reader = TavrolineConvenienceFunctions::checkStructPointer(parameters)
                               ? readerOf<Reader>(origin, parameters->hReadHandle)
                               : nullptr;
    if (reader != nullptr) {
      std::invoke(operation, *reader);
    }
  });
}

/**
 * A function on a reader with a result: stores what `operation(*reader)` returns in iResult of the structure,
 * which also holds the handle; ResultError if the handle is refused. [plc-task]
 */
template <typename Reader, typename Parameters, typename Operation>
void onReaderWithResult(const Origin& origin, Parameters* parameters, Operation operation) noexcept {
  externalFunction(origin, [&] {
    if (!TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      return;
    }
    Result result(parameters->iResult);
    if (Reader* const reader = readerOf<Reader>(origin, parameters->hReadHandle)) {
      result = std::invoke(operation, *reader);
    }
  });
}

}  // namespace Tavroline
