#pragma once

#include "Database.h"

/**
 * The tables of the service, and the check whether a database file is accepted. The stores hold the
 * statements on the tables.
 */
namespace Schema {

constexpr int kVersion = 1;

/**
 * Check the opened database and create the tables if it is empty. Throws StorageError for a file that is
 * damaged or was written by a newer version or another program; that file is not changed.
 */
void open(Database& database);

}  // namespace Schema
