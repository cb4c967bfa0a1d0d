#pragma once

/**
 * Finds replies that the component's JSON parser must not read. The parser recurses on the stack of a PLC
 * task and takes some 190 KiB at its own limit of about 1,000 levels. If an object names a member twice,
 * Qt 5.15 never frees the first one's array or object. The check does not validate JSON.
 */
namespace Tavroline::ReplyCheck {

/** Maximum depth of nested arrays and objects; the keywords of a list entry are at depth 4. */
constexpr int kDeepest = 32;

/** Maximum number of an object's members that hold an array or object; a list entry has one, its keywords.
 */
constexpr int kMostContainers = 16;

/**
 * Finds the first of these faults: nesting deeper than kDeepest; a member that holds an array or object and
 * is named again; a member's name with an escape, because it could equal another name; more than
 * kMostContainers members of one object that hold an array or object.
 *
 * @param json terminated, UTF-8
 * @return the fault as the predicate of a sentence ("names a member twice"); nullptr if there is none
 * @throws std::bad_alloc. [any-thread]
 */
const char* fault(const char* json);

}  // namespace Tavroline::ReplyCheck
