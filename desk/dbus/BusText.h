#pragma once

#include <QString>

namespace Tavroline {

/**
 * Text as the bus accepts it: neither end of it may send or store anything else. It does not shorten, trim or
 * translate.
 *
 * sd-bus refuses a string with such a character as a whole and cuts at U+0000, so that one of them in the
 * store would make a whole list unloadable.
 *
 * @return `text` with U+0000, lone surrogates and noncharacters (U+FDD0 to U+FDEF, U+xxFFFE, U+xxFFFF)
 * replaced by U+FFFD, a noncharacter beyond U+FFFF by one of them; shares the data when there is nothing to
 * replace. [any-thread]
 */
QString busText(const QString& text);

}  // namespace Tavroline
