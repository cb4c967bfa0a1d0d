/** @file
 * The description of an event or alarm: where its text comes from, and the arguments that replace
 * placeholders in it.
 */
#ifndef TAVROLINE_DESCRIPTION_H
#define TAVROLINE_DESCRIPTION_H

#include "tavroline/conventions.h"

/** The description of an entry; 678 bytes. */
typedef struct {
  /** in [code]: 0 or 1, a text source of the list service; others count as 0 */
  RTS_IEC_INT iTextSource;
  RTS_IEC_STRING sModuleName[TAVROLINE_TEXT_80]; /**< in [UTF-8]: may be empty */
  RTS_IEC_STRING sObjectName[TAVROLINE_TEXT_80]; /**< in [UTF-8]: may be empty */
  RTS_IEC_STRING
  sInstanceName[TAVROLINE_TEXT_255];       /**< in [UTF-8]: may hold one integer directive, "Pump %d" */
  RTS_IEC_INT iInstanceNumber;             /**< in [number]: inserted there; 0 leaves the name unchanged */
  RTS_IEC_STRING sUrl[TAVROLINE_TEXT_255]; /**< in [UTF-8]: may be empty */
} stDataType;

/** One argument: the placeholder in the text and its replacement; 324 bytes. */
typedef struct {
  RTS_IEC_WSTRING wsPlaceholder[TAVROLINE_TEXT_80]; /**< in [UTF-16]: as written in the text */
  RTS_IEC_WSTRING wsArgument[TAVROLINE_TEXT_80];    /**< in [UTF-16]: the replacement */
} stDescriptionArgumentType;

/** One argument of the URL: the placeholder in it and the description of the text that replaces it; 840
 * bytes. */
typedef struct {
  RTS_IEC_WSTRING wsPlaceholder[TAVROLINE_TEXT_80]; /**< in [UTF-16]: as written in the URL */
  stDataType stData;                                /**< in [record]: describes the text that replaces it */
} stDescriptionUrlArgumentType;

#endif
