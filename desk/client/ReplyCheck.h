#pragma once

/**
 * What the callers' JSON parser must not be given. It recurses on a PLC task's stack: at its own limit of
 * about a thousand levels it takes some 190 KiB. And where an object names a member a second time, Qt 5.15
 * never frees the array or object that the first one held. Says nothing about whether the text is JSON.
 */
namespace Tavroline::ReplyCheck {

constexpr int kDeepest = 32;         ///< an entry's keywords lie at four
constexpr int kMostContainers = 16;  ///< among the members of one object; an entry has one, its keywords

/**
 * The text's first fault: nested deeper than kDeepest, a member named twice after it held a container, a name
 * with an escape, which could be another's, or more than kMostContainers. [any-thread]
 *
 * @return predicate of a sentence about the text; nullptr if it has none
 */
const char* fault(const char* json);

}  // namespace Tavroline::ReplyCheck
