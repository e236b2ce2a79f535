// The connection string of an Audit Database kept in a SQLite file, as the tool opens one.
#pragma once

#include <string>

#include "platform/types.h"

// The SQLite driver with its log (WAL: readers and one writer at once, commits without a sync of
// the file) and a 10 s busy time-out, so that several processes can share the file.
NORVIK_API std::string SqliteFileConnection(const std::string& file);
