#pragma once

#include "Database.h"

/**
 * The tables of the service: what stands in a database file, and which files are accepted. The statements on
 * them belong to the stores.
 */
namespace Schema {

constexpr int kVersion = 1;

/**
 * Check the opened database and create the tables in an empty one. A file that is damaged, written by a newer
 * version or by another program is refused with StorageError before anything in it is touched. [any-thread]
 */
void open(Database& database);

}  // namespace Schema
