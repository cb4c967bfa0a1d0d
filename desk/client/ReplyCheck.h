#pragma once

/**
 * Finds replies that Qt's JSON parser must not read, because the component calls the parser on the stack of a
 * PLC task. The parser recurses for each level of nesting: at its limit of about 1,000 levels, the parser
 * needs about 190 KiB of stack. If two members of an object have the same name and the first of them holds an
 * array or object, Qt 5.15 never frees that array or object. The check does not validate JSON.
 */
namespace Tavroline::ReplyCheck {

/** Maximum depth of nested arrays and objects. The keywords of a list entry are at depth 4. */
constexpr int kDeepest = 32;

/** Maximum number of members in one object that hold an array or object. A list entry has one such member:
 * its keywords. */
constexpr int kMostContainers = 16;

/**
 * Find the first of these faults: nesting deeper than kDeepest; a member with the name of an earlier member
 * that holds an array or object; an escape in a member's name, because two different spellings could mean one
 * name; more members that hold an array or object than kMostContainers.
 *
 * @param json UTF-8, terminated by a zero byte
 * @return nullptr if the text has none of these faults; otherwise a text that continues the words "the
 * reply", for example "names a member twice"
 * @throws std::bad_alloc. [any-thread]
 */
const char* fault(const char* json);

}  // namespace Tavroline::ReplyCheck
