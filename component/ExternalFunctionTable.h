#pragma once

#include "tavroline/component.h"

/** One row for each external function, then the end row. Constant data. */
extern const ExternalFunctionEntry ExternalFunctionTable[];

/** Only the end row; registered after the table of external functions. */
extern const ExternalFunctionEntry EmptyFunctionTable[1];
