#pragma once

#include "ExceptionGuard.h"
#include "HandleCheck.h"
#include "TavrolineConvenienceFunctions.h"
#include "tavroline/conventions.h"

/**
 * The shape of an external function: check, convert, call one operation, store its result. Every exported
 * function runs inside externalFunction() or one of the forms below, which are made of it; no exception
 * leaves it.
 *
 * A form that has a result writes ResultError before it looks at the handle: a refused handle and an
 * exception leave it there, everything else replaces it.
 */
template <typename Body>
void externalFunction(const char* name, Body&& body) noexcept {
  reportExceptions("TavrolineExternalFunctions", name, std::forward<Body>(body));
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

/** With a read handle and a result: iResult = `operation(reader, parameters)`. The structure has been
 * checked. */
template <typename Reader, typename Parameters, typename Operation>
void storeResult(Parameters& parameters, Operation operation) {
  parameters.iResult = TAVROLINE_ERROR;
  Reader* reader = nullptr;
  if (TavrolineConvenienceFunctions::getHandlePointer(&reader, parameters.hReadHandle) &&
      HandleCheck::isUsable(reader)) {
    parameters.iResult = operation(*reader, parameters);
  }
}

/** The load functions. */
template <typename Reader, typename Parameters, typename Operation>
void load(const char* name, Parameters* parameters, Operation operation) noexcept {
  externalFunction(name, [&] {
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      storeResult<Reader>(*parameters, operation);
    }
  });
}

/** The copy functions, whose structure points to a second one that holds everything. */
template <typename Reader, typename Parameters, typename Operation>
void copyRequest(const char* name, Parameters* parameters, Operation operation) noexcept {
  externalFunction(name, [&] {
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters) &&
        TavrolineConvenienceFunctions::checkStructPointer(parameters->pstRequest)) {
      storeResult<Reader>(*parameters->pstRequest, operation);
    }
  });
}
