#pragma once

/**
 * Finds replies that the component's JSON parser must not get. The parser recurses on the stack of a PLC task
 * and takes some 190 KiB at its own limit of about a thousand levels. And Qt 5.15 never frees the array or
 * object of a member that the same object names a second time. The check does not tell whether the text is
 * JSON at all.
 */
namespace Tavroline::ReplyCheck {

/** Allowed levels of arrays and objects; the keywords of a list entry are at level 4. */
constexpr int kDeepest = 32;

/** Allowed number of members of one object that hold an array or object; a list entry has one, its keywords.
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
