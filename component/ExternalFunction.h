#pragma once

#include <functional>
#include <type_traits>
#include <typeinfo>

#include "LiveObjects.h"
#include "RuntimeLog.h"
#include "TavrolineConvenienceFunctions.h"
#include "TavrolineReadBaseClass.h"
#include "tavroline/conventions.h"

class TavrolineAlarmHandler;

/**
 * Building blocks of the external functions: a guard, the objects behind handles, the result field. Each
 * function checks its structure, takes the object behind its handle, calls one operation and stores the
 * result.
 */
namespace Tavroline {

/** The function that writes a record into the runtime log. */
struct Origin {
  const char* file;  ///< its source file without the extension
  const char* signature;
  int line;  ///< of that file
};

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

/** Logs why a handle that is not null is refused: unknown, already closed or of another kind. [plc-task] */
void logRefusal(const Origin& origin, TavrolineHandle handle, const char* kind);

constexpr const char* kindOf(const TavrolineReadBaseClass*) {
  return "ReadHandle";
}
constexpr const char* kindOf(const TavrolineEventlistRead*) {
  return "EventlistReadHandle";
}
constexpr const char* kindOf(const TavrolineAlarmlistRead*) {
  return "AlarmlistReadHandle";
}

/**
 * The reader behind a handle; null if the handle is refused, which is logged. Dereferences the handle only if
 * it is the address of a live reader.
 * @tparam Reader the class that the function takes; TavrolineReadBaseClass takes both kinds. [plc-task]
 */
template <typename Reader>
Reader* readerOf(const Origin& origin, TavrolineHandle handle) {
  Reader* reader = nullptr;
  if (!TavrolineConvenienceFunctions::getHandlePointer(&reader, handle)) {
    return nullptr;
  }
  constexpr bool kTakesBothKinds = std::is_same_v<Reader, TavrolineReadBaseClass>;
  if (LiveObjects::family(handle) == LiveObjects::Family::Reader &&
      (kTakesBothKinds || typeid(*static_cast<TavrolineReadBaseClass*>(handle)) == typeid(Reader))) {
    return reader;
  }
  logRefusal(origin, handle, kindOf(reader));
  return nullptr;
}

/** The alarm handler behind a handle; null if the handle is refused, which is logged. [plc-task] */
TavrolineAlarmHandler* handlerOf(const Origin& origin, TavrolineHandle handle);

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
