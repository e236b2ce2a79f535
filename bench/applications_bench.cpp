// Application calls per second on SQLite and on PostgreSQL ($NORVIK_TEST_PG_DSN):
// applicationAdd of a new and of an existing application, applicationAddInstance of a new and of
// an existing instance (one commit each, and inside one transaction as an import runs), and
// EnumGlobalSwApplications over a site of 1,000 assets with 300 instances each. The "floor"
// variants send the statement a call cannot do without through the statement helper alone.
#include <benchmark/benchmark.h>
#include <cstdio>

#include "bench_support.h"

#include <string>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

constexpr int kAssets = 1000;
constexpr int kAppsPerAsset = 300;
constexpr int kRowsPerInsert = 500;

struct Target : BenchDatabase {
    ULong firstApp = 0;
    ULong added = 0;      // names and pairs stay unique across runs of one engine
    ULong instances = 0;  // new instances written so far
};

// Sends rows to `table` in multi-row inserts of kRowsPerInsert, inside one transaction.
void BulkInsert(CNorvikSql& db, const char* table, const char* columns, int count,
                const std::string& (*row)(int, std::string&)) {
    TransactionScope transaction(db);
    std::string statement, buffer;
    for (int i = 0; i < count; ++i) {
        if (statement.empty())
            statement = std::string("insert into ") + table + " (" + columns + ") values ";
        else
            statement += ',';
        statement += row(i, buffer);
        if ((i + 1) % kRowsPerInsert == 0 || i + 1 == count) {
            db.ExecuteStatement(statement.c_str());
            statement.clear();
        }
    }
    transaction.Commit();
}

const std::string& AssetRow(int i, std::string& out) { return out = "('PC-" + std::to_string(i) + "',0,2)"; }
const std::string& AppRow(int i, std::string& out) {
    return out = "('Publisher " + std::to_string(i % 40) + "','Application " + std::to_string(i) + "',1)";
}
// The site's instances: asset (i / 300) + 1 holds applications 1 to 300. Ids start at 1 in a
// fresh database on both engines.
const std::string& InstanceRow(int i, std::string& out) {
    char row[64];
    std::snprintf(row, sizeof row, "(%d,%d,'1.%d',1,0)", i / kAppsPerAsset + 1, i % kAppsPerAsset + 1, i % 7);
    return out = row;
}

Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        BulkInsert(*target.db, "ASSET", "_NAME,_LOCATION,_STATUS", kAssets, AssetRow);
        BulkInsert(*target.db, "APPS", "_MFR,_APP,_FLAGS", kAppsPerAsset, AppRow);
        BulkInsert(*target.db, "APPINST", "_ASSET,_APP,_VERSION,_FILES,_FLAGS", kAssets * kAppsPerAsset, InstanceRow);
        target.firstApp = 1;
    }
    return target;
}

void AddNewApp(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        const CString name = CString::Formatted("New %u", static_cast<unsigned>(++t.added));
        if (t.db->applicationAdd("Bench Publisher", name, 1) == 0) state.SkipWithError("applicationAdd failed");
    }
    state.SetItemsProcessed(state.iterations());
}

void AddExistingApp(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state)
        if (t.db->applicationAdd("Publisher 7", "Application 7", 1) != 8) state.SkipWithError("not found");
    state.SetItemsProcessed(state.iterations());
}

// The lookup an existing application needs, alone.
void LookupFloor(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        CSqlRecordset rs(t.db.get(),
                         "select _ID from APPS where _MFR = 'Publisher 7' and _APP = 'Application 7' "
                         "order by _ID limit 1");
        if (rs.IsEOF()) state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations());
}

// New instances on assets beyond the site's (the procedure does not look the asset up).
void AddNewInstance(benchmark::State& state, Engine engine, bool inTransaction) {
    Target& t = TargetFor(engine);
    if (inTransaction) t.db->BeginTrans();
    for (auto _ : state) {
        const ULong n = t.instances++;
        const ULong asset = 100000 + n / kAppsPerAsset;
        if (t.db->applicationAddInstance(asset, n % kAppsPerAsset + 1, "", "1.0", 2) == 0)
            state.SkipWithError("applicationAddInstance failed");
    }
    if (inTransaction) t.db->CommitTrans();
    state.SetItemsProcessed(state.iterations());
}

void AddExistingInstance(benchmark::State& state, Engine engine, bool inTransaction) {
    Target& t = TargetFor(engine);
    if (inTransaction) t.db->BeginTrans();
    for (auto _ : state)
        if (t.db->applicationAddInstance(5, 9, "", "", 2) == 0) state.SkipWithError("applicationAddInstance failed");
    if (inTransaction) t.db->CommitTrans();
    state.SetItemsProcessed(state.iterations());
}

void EnumSite(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        CSortList list;
        if (t.db->EnumGlobalSwApplications(0, list, 0, 1, 0, 1, nullptr, 0) < kAppsPerAsset)
            state.SkipWithError("applications missing");
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        auto add = [&](const std::string& what, auto... args) {
            benchmark::RegisterBenchmark((what + "/" + name).c_str(), args...)->MinTime(2)->UseRealTime();
        };
        add("applicationAdd/new", AddNewApp, engine);
        add("applicationAdd/existing", AddExistingApp, engine);
        add("applicationAdd/lookup-floor", LookupFloor, engine);
        add("applicationAddInstance/new", AddNewInstance, engine, false);
        add("applicationAddInstance/new/in-transaction", AddNewInstance, engine, true);
        add("applicationAddInstance/existing", AddExistingInstance, engine, false);
        add("applicationAddInstance/existing/in-transaction", AddExistingInstance, engine, true);
        add("EnumGlobalSwApplications/1000x300", EnumSite, engine);
    }
}
