#pragma once

#include "Database.h"

/**
 * The tables of the service, and the check whether a database file is accepted. The stores hold the
 * statements on the tables.
 */
namespace Schema {

constexpr int kVersion = 1;

/**
 * Check the opened database and create the tables if it is empty. A file that is damaged, or that a newer
 * version or another program has written, is refused with StorageError and not changed.
 */
void open(Database& database);

}  // namespace Schema
