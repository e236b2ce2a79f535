// What the benchmark programs share: one main (each program supplies RegisterBenchmarks) and
// an Audit Database back end open on a scratch database of one engine for the whole run.
#pragma once

#include <memory>
#include <string>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/scratch_database.h"

// Registers the program's benchmarks; called once by the shared main before the run.
void RegisterBenchmarks();

// A back end on a fresh database; Open creates the database and connects to it.
struct BenchDatabase {
    CAuditDBSys kb;
    std::unique_ptr<ScratchDatabase> scratch;
    std::unique_ptr<CNorvikSql> db;

    void Open(Engine engine) {
        scratch = std::make_unique<ScratchDatabase>(engine);
        db = std::make_unique<CNorvikSql>(kb);
        db->Open(scratch->ConnectionString().c_str(), nullptr, 0x4);
    }
};

// Sends `rows` (comma-separated value lists) after `head` as one multi-row insert.
inline void InsertRows(CNorvikSql& db, const char* head, const std::string& rows) {
    db.ExecuteStatement(std::string(head).append(rows).c_str());
}
