// Creation of a new Audit Database from the embedded schema scripts, for `norvik init`,
// the tests and the benchmarks. The library itself never changes a schema on open.
#pragma once

#include <string>
#include <vector>

#include "platform/odbc_database.h"

// The schema versions that can be created: "7.14" (current), "7.12", "7.10", "7.08".
NORVIK_API std::vector<std::string> CreatableSchemaVersions();

// Creates every table, seed row and procedure of `version` on the empty database `db`,
// in one transaction where the engine allows it. Throws CDBException when a statement
// fails, and CException for an engine or version without scripts.
NORVIK_API void InstallSchema(CDatabase& db, const char* version);

// The Audit Database's table names, in the order the schema creates them.
NORVIK_API std::vector<std::string> AuditTableNames();
