#pragma once

#include <QString>

namespace Tavroline {

/**
 * The client's own records in the runtime log, under the component name TavrolineClient.
 *
 * A log that fails is swallowed: there is nowhere else to report it.
 *
 * @param file, function constant texts: the writing source without extension, and the function
 * [any-thread]
 */
void clientLog(const char* file, const char* function, int line, const QString& text) noexcept;

/** The same for a text that still has to be copied, which may fail. */
void clientLog(const char* file, const char* function, int line, QLatin1String text) noexcept;

/** Origin of a record, for the first three arguments above. */
#define CLIENT_LOG_ORIGIN(file) file, static_cast<const char*>(__func__), __LINE__

}  // namespace Tavroline
