#pragma once

#include <QString>

namespace Tavroline {

/**
 * Replaces the characters that the bus does not accept. Client, service and tavroline-ctl use it for every
 * text of a user or an application that they send or store.
 *
 * sd-bus refuses a string with a lone surrogate or a noncharacter and cuts a string at U+0000. One such text
 * in the store would make the whole list unloadable.
 *
 * @return `text` with U+0000, each lone surrogate and each noncharacter (U+FDD0 to U+FDEF, U+xxFFFE,
 * U+xxFFFF) replaced by one U+FFFD; shares the data of `text` if there is nothing to replace. [any-thread]
 */
QString busText(const QString& text);

/** Maximum number of bytes that writeBusText() writes for each UTF-16 code unit. */
constexpr int kBusTextBytesPerUnit = 3;

/**
 * Write busText(text) as UTF-8, without allocating.
 * @param target receives the bytes without a terminator; has room for kBusTextBytesPerUnit for each unit
 * @return the number of bytes. [any-thread]
 */
int writeBusText(const QString& text, char* target);

}  // namespace Tavroline
