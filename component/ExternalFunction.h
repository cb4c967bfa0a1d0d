#pragma once

#include "HandleCheck.h"
#include "RuntimeLog.h"
#include "TavrolineConvenienceFunctions.h"
#include "tavroline/conventions.h"

/**
 * The shape of an external function: check, convert, call one operation, store its result. Every exported
 * function runs inside externalFunction() or one of the forms below, which are made of it; no exception
 * leaves it.
 *
 * A form that has a result writes it once, at the end, so that no other task sees a value in between; a
 * refused handle and an exception make it an error.
 */
template <typename Body>
void externalFunction(const char* name, Body&& body) noexcept {
  Tavroline::reportExceptions("ExternalFunction", name, std::forward<Body>(body));
}

/** With a read handle and no result: `operation(reader, parameters)`. */
template <typename Reader, typename Parameters, typename Operation>
void onReader(const char* name, Parameters* parameters, Operation operation) noexcept {
  externalFunction(name, [&] {
    Reader* reader = nullptr;
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters) &&
        TavrolineConvenienceFunctions::getHandlePointer(&reader, parameters->hReadHandle) &&
        HandleCheck::isUsable(reader)) {
      operation(*reader, *parameters);
    }
  });
}

/** With a result: iResult = `body()`. The structure has been checked. */
template <typename Parameters, typename Body>
void storeResult(const char* name, Parameters& parameters, Body body) noexcept {
  RTS_IEC_INT result = TAVROLINE_ERROR;
  externalFunction(name, [&] { result = body(); });
  parameters.iResult = result;
}

/** With a read handle and a result: iResult = `operation(reader, parameters)`. The structure has been
 * checked. */
template <typename Reader, typename Parameters, typename Operation>
void storeReaderResult(const char* name, Parameters& parameters, Operation operation) noexcept {
  storeResult(name, parameters, [&]() -> RTS_IEC_INT {
    Reader* reader = nullptr;
    const bool usable = TavrolineConvenienceFunctions::getHandlePointer(&reader, parameters.hReadHandle) &&
                        HandleCheck::isUsable(reader);
    return usable ? operation(*reader, parameters) : RTS_IEC_INT{TAVROLINE_ERROR};
  });
}

/** The load functions. */
template <typename Reader, typename Parameters, typename Operation>
void load(const char* name, Parameters* parameters, Operation operation) noexcept {
  externalFunction(name, [&] {
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      storeReaderResult<Reader>(name, *parameters, operation);
    }
  });
}

/** The copy functions, whose structure points to a second one that holds everything. */
template <typename Reader, typename Parameters, typename Operation>
void copyRequest(const char* name, Parameters* parameters, Operation operation) noexcept {
  externalFunction(name, [&] {
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters) &&
        TavrolineConvenienceFunctions::checkStructPointer(parameters->pstRequest)) {
      storeReaderResult<Reader>(name, *parameters->pstRequest, operation);
    }
  });
}
