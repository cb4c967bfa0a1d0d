#pragma once

#include <QString>

namespace Tavroline {

/**
 * Write a record of the client into the runtime log, under the component name TavrolineClient. If an
 * exception prevents that, the record is lost: there is no other place to report it.
 *
 * @param file, function, line where the record is made; `file` without its extension
 * [any-thread]
 */
void clientLog(const char* file, const char* function, int line, const QString& text) noexcept;

/** The same for a Latin-1 text; its conversion to QString, which may throw, is guarded too. [any-thread] */
void clientLog(const char* file, const char* function, int line, QLatin1String text) noexcept;

/** The first three arguments of clientLog(); `file` is a literal, the source file without its extension. */
#define CLIENT_LOG_ORIGIN(file) file, static_cast<const char*>(__func__), __LINE__

}  // namespace Tavroline
