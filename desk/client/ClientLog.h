#pragma once

#include <QString>

namespace Tavroline {

/**
 * Write a record of the client into the runtime log, under the component name TavrolineClient. Exceptions
 * are swallowed: there is no other place to report them.
 *
 * @param file, function literals: the source file without extension, and the function
 * [any-thread]
 */
void clientLog(const char* file, const char* function, int line, const QString& text) noexcept;

/** The same for a text whose conversion to QString may throw. */
void clientLog(const char* file, const char* function, int line, QLatin1String text) noexcept;

/** The first three arguments of clientLog(). */
#define CLIENT_LOG_ORIGIN(file) file, static_cast<const char*>(__func__), __LINE__

}  // namespace Tavroline
