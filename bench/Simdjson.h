#pragma once

#include <QByteArray>

#include "tavroline/eventlist.h"

/**
 * The limit for the list path: the bytes of a reply straight into the caller's array with a parser that
 * builds no tree, filtered like a ListFixture. Takes only what the service sends, in canonical form. No part
 * of the product.
 */
int simdjsonToStructures(const QByteArray& json, stEventlistEntryType* entries, int capacity);
