#pragma once

#include "tavroline/component.h"

/** The 38 external functions, then the end row. Constant data. */
extern const ExternalFunctionEntry ExternalFunctionTable[39];

/** The end row alone, registered after the table of external functions. */
extern const ExternalFunctionEntry EmptyFunctionTable[1];
