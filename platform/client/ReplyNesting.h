#pragma once

/**
 * How deep the values of a reply may lie in each other. The caller parses a reply on a PLC task's stack, and
 * parsing recurses: at the parser's own limit of about a thousand levels it takes some 190 KiB. Says nothing
 * about whether the text is JSON.
 */
namespace ReplyNesting {

constexpr int kDeepest = 32;  ///< an entry's keywords lie at four

/** Whether the text, up to its first fault, nests deeper than kDeepest. [any-thread] */
bool isTooDeep(const char* json) noexcept;

}  // namespace ReplyNesting
