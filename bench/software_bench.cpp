// MergeFolder and MergeFile calls per second, inside one transaction as an audit import runs
// them, on SQLite and on PostgreSQL ($NORVIK_TEST_PG_DSN), beside the floor of the same
// statements sent straight through ODBC. Targets on SQLite: 20,000 MergeFile calls a second
// for files already known, 10,000 for new ones.
#include <benchmark/benchmark.h>

#include <sql.h>
#include <sqlext.h>
#include "bench_support.h"

#include <string>

#include "sql/norvik_sql.h"
#include "support/scratch_database.h"

namespace {

struct Target : BenchDatabase {
    ULong folder = 0;
    ULong serial = 0;  // names and assets stay unique across the runs of one engine
};

Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        target.folder = target.db->MergeFolder(1, "Program Files", 0);
        target.db->MergeFile(1, target.folder, 0xDEADBEEF, "known.dll", 4096, 0, "Acme", "Editor", "1.0", 0);
    }
    return target;
}

// Runs the benchmark's loop inside one transaction, committed when it ends.
class Transaction {
public:
    explicit Transaction(CNorvikSql& db) : m_db(db) { m_db.BeginTrans(); }
    ~Transaction() { m_db.CommitTrans(); }

private:
    CNorvikSql& m_db;
};

void MergeFolder(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    const Transaction transaction(*t.db);
    for (auto _ : state) {
        const CString name = CString::Formatted("Folder %u", static_cast<unsigned>(++t.serial));
        if (t.db->MergeFolder(2, name, t.folder) == 0) state.SkipWithError("MergeFolder failed");
    }
    state.SetItemsProcessed(state.iterations());
}

// A file the site knows already, found on one more asset each call.
void MergeKnownFile(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    const Transaction transaction(*t.db);
    for (auto _ : state)
        t.db->MergeFile(++t.serial, t.folder, 0xDEADBEEF, "known.dll", 4096, 7, "Acme", "Editor", "1.0", 0);
    state.SetItemsProcessed(state.iterations());
}

void MergeNewFile(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    const Transaction transaction(*t.db);
    for (auto _ : state) {
        const CString name = CString::Formatted("file%u.dll", static_cast<unsigned>(++t.serial));
        t.db->MergeFile(3, t.folder, 0x80000000, name, 0xFFFFFFF0, 7, "Acme", "Editor", "1.0", 0);
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- The raw floor: the same work with nothing of the library between ----

SQLHSTMT Prepare(CNorvikSql& db, const char* sql) {
    SQLHSTMT hstmt = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(db.GetHandle()), &hstmt);
    SQLPrepare(hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql)), SQL_NTS);
    return hstmt;
}

void BindLong(SQLHSTMT hstmt, int number, SQLINTEGER* value) {
    SQLBindParameter(hstmt, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, value,
                     0, nullptr);
}

void BindText(SQLHSTMT hstmt, int number, const std::string& text, SQLLEN* length) {
    *length = static_cast<SQLLEN>(text.size());
    SQLBindParameter(hstmt, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR,
                     text.empty() ? 1 : text.size(), 0, const_cast<char*>(text.data()), *length, length);
}

SQLINTEGER FirstLong(SQLHSTMT hstmt) {
    SQLINTEGER value = 0;
    SQLLEN indicator = 0;
    SQLExecute(hstmt);
    if (SQLFetch(hstmt) == SQL_SUCCESS) SQLGetData(hstmt, 1, SQL_C_SLONG, &value, 0, &indicator);
    SQLFreeStmt(hstmt, SQL_CLOSE);
    return value;
}

// SQLite: usp_MergeFile's statements, prepared once. PostgreSQL: the call escape, sent directly.
void MergeFileRaw(benchmark::State& state, Engine engine, bool known) {
    Target& t = TargetFor(engine);
    const Transaction transaction(*t.db);
    if (engine == Engine::PostgreSql) {
        SQLHSTMT hstmt = SQL_NULL_HSTMT;
        SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(t.db->GetHandle()), &hstmt);
        SQLINTEGER ret = 0;
        SQLBindParameter(hstmt, 1, SQL_PARAM_OUTPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &ret, 0, nullptr);
        for (auto _ : state) {
            ++t.serial;
            const std::string name = known ? "known.dll" : "raw" + std::to_string(t.serial) + ".dll";
            const std::string call = "{?=call usp_MergeFile(" + std::to_string(known ? t.serial : 3) + "," +
                                     std::to_string(t.folder) + ",-559038737,'" + name +
                                     "',4096,7,'Acme','Editor','1.0',0)}";
            SQLExecDirect(hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(call.c_str())), SQL_NTS);
            while (SQL_SUCCEEDED(SQLMoreResults(hstmt))) {
            }
            SQLFreeStmt(hstmt, SQL_CLOSE);
        }
        SQLFreeHandle(SQL_HANDLE_STMT, hstmt);
        state.SetItemsProcessed(state.iterations());
        return;
    }
    SQLHSTMT find = Prepare(*t.db,
                            "select _ID, _APPID from SWFILE where _NAME = ? and _SIZE = ? and _CRC = ? and _RESMFR = ? "
                            "and _RESAPP = ? and _RESVER = ? order by _ID limit 1");
    SQLHSTMT insertFile = Prepare(
        *t.db,
        "insert into SWFILE (_NAME, _SIZE, _CRC, _RESMFR, _RESAPP, _RESVER, _APPID) values (?, ?, ?, ?, ?, ?, ?)");
    SQLHSTMT lastId = Prepare(*t.db, "select last_insert_rowid()");
    SQLHSTMT redate = Prepare(*t.db, "update SWLINK set _FDATE = ? where _ASSET = ? and _FOLDER = ? and _FILE = ?");
    SQLHSTMT link = Prepare(*t.db, "insert into SWLINK (_ASSET, _FOLDER, _FILE, _FDATE) values (?, ?, ?, ?)");
    SQLINTEGER size = 4096, crc = static_cast<SQLINTEGER>(0xDEADBEEF), app = 0, date = 7, asset = 0, file = 0;
    SQLINTEGER folder = static_cast<SQLINTEGER>(t.folder);
    const std::string mfr = "Acme", product = "Editor", version = "1.0";
    SQLLEN lengths[8];
    std::string name;
    for (SQLHSTMT h : {find, insertFile}) {
        BindLong(h, 2, &size);
        BindLong(h, 3, &crc);
        BindText(h, 4, mfr, &lengths[1]);
        BindText(h, 5, product, &lengths[2]);
        BindText(h, 6, version, &lengths[3]);
    }
    BindLong(insertFile, 7, &app);
    for (SQLHSTMT h : {redate, link}) {
        BindLong(h, h == redate ? 1 : 4, &date);
        BindLong(h, h == redate ? 2 : 1, &asset);
        BindLong(h, h == redate ? 3 : 2, &folder);
        BindLong(h, h == redate ? 4 : 3, &file);
    }
    for (auto _ : state) {
        ++t.serial;
        name = known ? "known.dll" : "raw" + std::to_string(t.serial) + ".dll";
        asset = static_cast<SQLINTEGER>(known ? t.serial : 3);
        BindText(find, 1, name, &lengths[0]);
        file = FirstLong(find);
        if (file == 0) {
            BindText(insertFile, 1, name, &lengths[0]);
            SQLExecute(insertFile);
            file = FirstLong(lastId);
        }
        SQLExecute(redate);
        SQLLEN rows = 0;
        SQLRowCount(redate, &rows);
        if (rows == 0) SQLExecute(link);
    }
    for (SQLHSTMT h : {find, insertFile, lastId, redate, link}) SQLFreeHandle(SQL_HANDLE_STMT, h);
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        benchmark::RegisterBenchmark(("MergeFolder/new/" + name).c_str(), MergeFolder, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("MergeFile/known/" + name).c_str(), MergeKnownFile, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("MergeFile/known/raw/" + name).c_str(), MergeFileRaw, engine, true)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("MergeFile/new/" + name).c_str(), MergeNewFile, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("MergeFile/new/raw/" + name).c_str(), MergeFileRaw, engine, false)
            ->MinTime(2)
            ->UseRealTime();
    }
}
