// The Audit Database's stored procedures for SQLite, which has none: the library runs each
// one itself over plain statements, with the same results as the PostgreSQL functions.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/odbc_database.h"

// Runs procedure `name` with the literal argument list `args` on `db`, which the caller has
// marked busy. Returns the procedure's value (0 = success); `out` (may be null) receives the
// output value. Throws CDBException for an unknown procedure, bad arguments or a failing
// statement; a failing procedure leaves the database as it was.
std::int32_t RunSqliteProcedure(CDatabase& db, const char* name, const char* args, std::int32_t* out);

// The shape of a procedure body: arguments already unquoted, output value through `out`.
using SqliteProcedure = std::int32_t (*)(CDatabase& db, const std::vector<CString>& args, std::int32_t* out);

// Adds or replaces a procedure, for tests of the calling machinery.
NORVIK_API void TEST_RegisterSqliteProcedure(const char* name, SqliteProcedure run);

// The software-file procedures (sqlite_software_procedures.cpp); the PostgreSQL functions in
// schema/postgresql/usp_mergefolder.sql and usp_mergefile.sql say what the arguments mean.
std::int32_t SqliteMergeFolder(CDatabase& db, const std::vector<CString>& args, std::int32_t* out);
std::int32_t SqliteMergeFile(CDatabase& db, const std::vector<CString>& args, std::int32_t* out);
