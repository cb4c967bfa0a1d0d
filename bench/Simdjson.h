#pragma once

#include <QByteArray>

#include "tavroline/eventlist.h"

/**
 * The limit for the list path: a parser that builds no tree copies a reply into the caller's array, with the
 * filter of ListFixture. Accepts only the service's canonical form. Not part of the product.
 */
int simdjsonToStructures(const QByteArray& json, stEventlistEntryType* entries, int capacity);
