#pragma once

namespace Tavroline {

/**
 * Write a record into the runtime log under the component name TavrolineClient. If the memory for the record
 * cannot be allocated, the record is lost.
 *
 * @param file, function, line origin of the record, from CLIENT_LOG_ORIGIN
 * @param text UTF-8
 * [any-thread]
 */
void clientLog(const char* file, const char* function, int line, const char* text) noexcept;

/** The first three arguments of clientLog(). `file` is a literal: the source file's name without extension.
 */
#define CLIENT_LOG_ORIGIN(file) file, static_cast<const char*>(__func__), __LINE__

}  // namespace Tavroline
