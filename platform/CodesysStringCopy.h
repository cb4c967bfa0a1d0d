#pragma once

#include <QString>

/**
 * Copies of text between IEC memory and Qt. STRING is UTF-8, WSTRING is UTF-16 in the machine's byte order; a
 * byte order mark is a character like any other. [any-thread]
 */

/**
 * Read a STRING or WSTRING. Malformed sequences and lone surrogates become U+FFFD.
 * @param source null clears `target`
 * @param length maximum number of characters to read; -1 for a text that has a terminator
 */
void copyCStringDataToQString(const char* source, int length, QString& target);
void copyWStringDataToQString(const unsigned short* source, int length, QString& target);

/**
 * Write a STRING or WSTRING. The result always has a terminator, a text that is too long is cut between two
 * characters, a lone surrogate becomes U+FFFD, and nothing after the terminator is written. An embedded
 * U+0000 ends the text.
 * @param target null writes nothing
 * @param capacity of `target` in characters, terminator included; 0 or less writes nothing
 * @param freeText true for the description of an entry, false for every other text
 * @return whether the whole text fitted
 */
bool copyQStringDataToCStringData(const QString& source, char* target, short capacity, bool freeText);
bool copyQStringDataToWStringData(const QString& source, unsigned short* target, short capacity,
                                  bool freeText);
