// Statements per second through the statement helpers beside the same statements sent
// straight through ODBC, on SQLite and on PostgreSQL ($NORVIK_TEST_PG_DSN).
#include <benchmark/benchmark.h>

#include <sql.h>
#include <sqlext.h>
#include "bench_support.h"

#include <memory>
#include <string>

#include "sql/sql_database.h"
#include "support/scratch_database.h"

namespace {

struct Target {
    std::unique_ptr<ScratchDatabase> scratch;
    std::unique_ptr<CSqlDatabase> db;
    ULong firstId = 0;
};

// One database per engine for the whole run, holding 1,000 options to read.
Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.scratch = std::make_unique<ScratchDatabase>(engine);
        target.db = std::make_unique<CSqlDatabase>();
        target.db->OpenEx(target.scratch->ConnectionString().c_str(), CDatabase::noOdbcDialog);
        for (int i = 0; i < 1000; ++i) {
            const ULong id = target.db->InsertRecord("OPTIONS", "_KEY,_VAL", CString::Formatted("'key%d','%d'", i, i));
            if (i == 0) target.firstId = id;
        }
    }
    return target;
}

SQLHSTMT NewStatement(CSqlDatabase& db) {
    SQLHSTMT hstmt = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(db.GetHandle()), &hstmt);
    return hstmt;
}

void SelectNumberHelper(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    ULong i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(t.db->SelectNumber("OPTIONS", "_VAL", t.firstId + (i++ % 1000)));
    state.SetItemsProcessed(state.iterations());
}

void SelectNumberRaw(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    ULong i = 0;
    for (auto _ : state) {
        const std::string sql =
            "select _VAL from OPTIONS where _ID = " + std::to_string(static_cast<int>(t.firstId + (i++ % 1000)));
        SQLHSTMT hstmt = NewStatement(*t.db);
        SQLExecDirect(hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())), SQL_NTS);
        char value[64];
        SQLLEN indicator = 0;
        if (SQLFetch(hstmt) == SQL_SUCCESS) SQLGetData(hstmt, 1, SQL_C_CHAR, value, sizeof value, &indicator);
        benchmark::DoNotOptimize(std::atoi(value));
        SQLFreeHandle(SQL_HANDLE_STMT, hstmt);
    }
    state.SetItemsProcessed(state.iterations());
}

void InsertRecordHelper(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) benchmark::DoNotOptimize(t.db->InsertRecord("OPTIONS", "_KEY,_VAL", "'bench','it''s'"));
    state.SetItemsProcessed(state.iterations());
}

// The same work the helper asks of each engine: the procedure call on PostgreSQL, the
// insert and the new id on SQLite (which has no procedures).
void InsertRecordRaw(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        SQLINTEGER ret = 0;
        SQLINTEGER id = 0;
        SQLHSTMT hstmt = NewStatement(*t.db);
        if (engine == Engine::PostgreSql) {
            SQLBindParameter(hstmt, 1, SQL_PARAM_OUTPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &ret, 0, nullptr);
            SQLBindParameter(hstmt, 2, SQL_PARAM_OUTPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0, nullptr);
            SQLExecDirect(hstmt,
                          reinterpret_cast<SQLCHAR*>(const_cast<char*>(
                              "{?=call usp_Insert('OPTIONS','_KEY,_VAL','''bench'',''it''''s''',?)}")),
                          SQL_NTS);
            while (SQL_SUCCEEDED(SQLMoreResults(hstmt))) {
            }
        } else {
            SQLExecDirect(hstmt,
                          reinterpret_cast<SQLCHAR*>(
                              const_cast<char*>("insert into OPTIONS (_KEY,_VAL) values ('bench','it''s')")),
                          SQL_NTS);
            SQLFreeStmt(hstmt, SQL_CLOSE);
            SQLExecDirect(hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>("select last_insert_rowid()")), SQL_NTS);
            SQLLEN indicator = 0;
            if (SQLFetch(hstmt) == SQL_SUCCESS) SQLGetData(hstmt, 1, SQL_C_SLONG, &id, 0, &indicator);
        }
        benchmark::DoNotOptimize(id);
        SQLFreeHandle(SQL_HANDLE_STMT, hstmt);
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        benchmark::RegisterBenchmark(("SelectNumber/helper/" + name).c_str(), SelectNumberHelper, engine)->MinTime(2);
        benchmark::RegisterBenchmark(("SelectNumber/raw/" + name).c_str(), SelectNumberRaw, engine)->MinTime(2);
        benchmark::RegisterBenchmark(("InsertRecord/helper/" + name).c_str(), InsertRecordHelper, engine)->MinTime(2);
        benchmark::RegisterBenchmark(("InsertRecord/raw/" + name).c_str(), InsertRecordRaw, engine)->MinTime(2);
    }
}
