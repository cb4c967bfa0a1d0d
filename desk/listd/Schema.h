#pragma once

#include "Database.h"

/**
 * The tables of the service, and the check whether a database file is accepted. The stores hold the
 * statements on the tables.
 */
namespace Schema {

constexpr int kVersion = 2;

/**
 * Check the opened database; create the tables if it is empty, and convert a database of an older version,
 * which keeps all of its entries. Throws StorageError for a file that is damaged or was written by a newer
 * version or another program; that file is not changed.
 */
void open(Database& database);

}  // namespace Schema
