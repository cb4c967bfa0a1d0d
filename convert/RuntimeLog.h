#pragma once

#include <QString>

/**
 * The one form in which this component writes into the runtime log: log class 2, no further numbers, the
 * component's name and identifier, and the place that reports.
 */
namespace RuntimeLog {

/**
 * Write one record.
 * @param file source file without its extension; with `function` a literal, as compilers spell signatures
 * differently
 * @param message the first item of the record
 * @param line of the record where it is not the caller's. [any-thread]
 */
void write(const char* file, const char* function, const QString& message, int line = __builtin_LINE());

/** The same with the text of an error as a second item of the record. [any-thread] */
void write(const char* file, const char* function, const QString& message, const QString& errorText,
           int line = __builtin_LINE());

}  // namespace RuntimeLog
