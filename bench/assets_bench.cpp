// Assets added per second through AddAsset with the initial-audit record, on SQLite and on
// PostgreSQL ($NORVIK_TEST_PG_DSN): the step every audit import starts with. Targets: 5,000 a
// second on SQLite, 1,000 on PostgreSQL over loopback; with ten asset-level fields to give
// empty values, 4,000 a second on SQLite.
#include <benchmark/benchmark.h>

#include <sql.h>
#include <sqlext.h>
#include "bench_support.h"

#include <cstdio>
#include <memory>
#include <string>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/scratch_database.h"

namespace {

struct Target : BenchDatabase {
    ULong location = 0;
    ULong added = 0;  // names stay unique across runs of one engine
};

// Rates are of wall-clock time: on PostgreSQL most of the work is the server's, which the
// client's CPU time leaves out.
// One database per engine for the whole run, with a location to add to and ten asset-level
// fields (two of them in a group) for the variant that fills them.
Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        target.location = target.db->locAddFull("Site;Building;Room");
        const ULong group = target.db->InsertRecord("USERDEF", "_PARENT,_KEY,_FLAGS", "0,'Finance',3");
        for (const char* field :
             {"Owner", "Department", "Room", "Warranty", "Supplier", "Purchase Date", "Asset Tag", "Notes"})
            target.db->InsertRecord("USERDEF", "_PARENT,_KEY,_FLAGS", CString::Formatted("0,'%s',18", field));
        for (const char* field : {"Cost Centre", "Budget"})
            target.db->InsertRecord("USERDEF", "_PARENT,_KEY,_FLAGS",
                                    CString::Formatted("%d,'%s',34", static_cast<int>(group), field));
    }
    return target;
}

void AddAsset(benchmark::State& state, Engine engine, int addUserFields) {
    Target& t = TargetFor(engine);
    const CTime when = CTime::GetCurrentTime();
    for (auto _ : state) {
        const CString name = CString::Formatted("PC-%06u", static_cast<unsigned>(++t.added));
        if (t.db->AddAsset(name, t.location, addUserFields, 1, when) == 0) state.SkipWithError("AddAsset failed");
    }
    state.SetItemsProcessed(state.iterations());
}

// The two inserts every new asset needs, sent straight through the statement helper: the floor
// that AddAsset's lookup and bookkeeping add to.
void InsertsAlone(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    const CString date = CSqlDatabase::SqlTime(CTime::GetCurrentTime());
    for (auto _ : state) {
        const CString name = CString::Formatted("PC-%06u", static_cast<unsigned>(++t.added));
        const ULong id = t.db->InsertRecord(
            "ASSET", "_NAME,_LOCATION,_STATUS",
            CString::Formatted("%s,%d,2", CSqlDatabase::SqlQuote(name).c_str(), static_cast<int>(t.location)));
        t.db->InsertRecord("HISTORY", "_ASSET,_DATE,_CODE,_KEY,_VALUE1,_VALUE2,_USERNAME",
                           CString::Formatted("%d,%s,65539,%s,'','',''", static_cast<int>(id), date.c_str(),
                                              CSqlDatabase::SqlQuote(name).c_str()));
    }
    state.SetItemsProcessed(state.iterations());
}

// The ten empty value rows of a new asset in one statement, sent straight through the statement
// helper and committed alone.
void FieldRowsAlone(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    ULong owner = 1000000;
    for (auto _ : state) {
        CString rows;
        for (int i = 0; i < 10; ++i)
            rows += CString::Formatted("%s(0,%d,'Field %d',2)", i ? "," : "", static_cast<int>(++owner), i);
        t.db->ExecuteStatement("insert into USERDATA (_PARENT,_OWNER,_KEY,_FLAGS) values " + rows);
    }
    state.SetItemsProcessed(state.iterations());
}

// The raw-driver floor of the user-field step: the same ten rows, inserted by one statement
// prepared once and executed per row straight through ODBC, committed together per asset.
void FieldRowsRaw(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    SQLHSTMT insert = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(t.db->GetHandle()), &insert);
    const char* sql = "insert into USERDATA (_PARENT,_OWNER,_KEY,_FLAGS) values (?,?,?,2)";
    SQLPrepare(insert, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql)), SQL_NTS);
    SQLINTEGER parent = 0, owner = 2000000;
    char key[16] = {};
    SQLLEN keyLength = 0;
    SQLBindParameter(insert, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &parent, 0, nullptr);
    SQLBindParameter(insert, 2, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &owner, 0, nullptr);
    SQLBindParameter(insert, 3, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, sizeof key, 0, key, sizeof key, &keyLength);
    for (auto _ : state) {
        ++owner;
        t.db->BeginTrans();
        for (int i = 0; i < 10; ++i) {
            keyLength = std::snprintf(key, sizeof key, "Field %d", i);
            if (!SQL_SUCCEEDED(SQLExecute(insert))) state.SkipWithError("insert failed");
        }
        t.db->CommitTrans();
    }
    SQLFreeHandle(SQL_HANDLE_STMT, insert);
    state.SetItemsProcessed(state.iterations());
}

// An asset that exists already: the lookup alone, as a re-audit sees it; with the fields, the
// check that every field has its value row.
void FindExisting(benchmark::State& state, Engine engine, int addUserFields) {
    Target& t = TargetFor(engine);
    const ULong pc = t.db->AddAsset("Existing PC", t.location, addUserFields, 1, CTime::GetCurrentTime());
    for (auto _ : state)
        if (t.db->AddAsset("Existing PC", t.location, addUserFields, 1, CTime()) != pc)
            state.SkipWithError("not found");
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        benchmark::RegisterBenchmark(("AddAsset/history/" + name).c_str(), AddAsset, engine, 0)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("AddAsset/history+10fields/" + name).c_str(), AddAsset, engine, 1)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("AddAsset/inserts-alone/" + name).c_str(), InsertsAlone, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("AddAsset/field-rows-alone/" + name).c_str(), FieldRowsAlone, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("AddAsset/field-rows-raw/" + name).c_str(), FieldRowsRaw, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("AddAsset/existing/" + name).c_str(), FindExisting, engine, 0)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("AddAsset/existing+10fields/" + name).c_str(), FindExisting, engine, 1)
            ->MinTime(2)
            ->UseRealTime();
    }
}
