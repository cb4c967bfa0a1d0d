#pragma once

#include <QString>

/**
 * Text between IEC memory and Qt. STRING is UTF-8, WSTRING is UTF-16 in the machine's byte order; a byte
 * order mark is a character like any other. [any-thread]
 */

/**
 * Read a STRING or WSTRING. Malformed sequences and lone surrogates become U+FFFD.
 * @param source null clears `target`
 * @param length characters to read at most, -1 reads up to the terminator
 */
void copyCStringDataToQString(const char* source, int length, QString& target);
void copyWStringDataToQString(const unsigned short* source, int length, QString& target);

/**
 * Write a STRING or WSTRING: terminated always, cut at a character border, lone surrogates as U+FFFD, nothing
 * behind the terminator touched. An embedded U+0000 ends the text; what follows it counts as cut.
 * @param capacity of `target` in characters, terminator included; 0 or less writes nothing
 * @param freeText marks a description; this implementation treats every text alike
 * @return true when the whole text fitted
 */
bool copyQStringDataToCStringData(const QString& source, char* target, short capacity, bool freeText);
bool copyQStringDataToWStringData(const QString& source, unsigned short* target, short capacity,
                                  bool freeText);
