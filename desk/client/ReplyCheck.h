#pragma once

/**
 * Finds replies that the component's JSON parser must not get. The parser recurses on the stack of a PLC task
 * and takes some 190 KiB at its own limit of about a thousand levels. And Qt 5.15 never frees the array or
 * object of a member that the same object names a second time. The check does not tell whether the text is
 * JSON at all.
 */
namespace Tavroline::ReplyCheck {

constexpr int kDeepest = 32;  ///< levels; an entry's keywords are at level four
/** Members of one object that may be arrays or objects; a list entry has one, its keywords. */
constexpr int kMostContainers = 16;

/**
 * Finds the first of these faults: nesting deeper than kDeepest; a member that holds an array or object and
 * is named again; a member's name with an escape, because it could equal another name; more than
 * kMostContainers. [any-thread]
 *
 * @return the fault as the predicate of a sentence ("names a member twice"); nullptr if there is none
 */
const char* fault(const char* json);

}  // namespace Tavroline::ReplyCheck
