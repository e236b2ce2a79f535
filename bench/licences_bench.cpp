// The licence report and the over-use check over 2,000 assets with 300 application instances
// each and 200 licensed applications, on SQLite and on PostgreSQL ($NORVIK_TEST_PG_DSN). Target
// on SQLite: under 0.5 s for each. The floor is the one grouped count the check needs, read
// straight through the cursor.
#include <benchmark/benchmark.h>
#include <cstdio>

#include "bench_support.h"

#include <string>

#include "report/licence_report.h"
#include "sql/sql_recordset.h"

namespace {

constexpr int kAssets = 2000;
constexpr int kPerAsset = 300;
constexpr int kApps = 600;      // each application ends on kAssets * kPerAsset / kApps = 1,000 assets
constexpr int kLicensed = 200;  // _IDs 1 to 200; the even ones per PC with 900 licences (over-used)
constexpr int kLocations = 10;  // the assets spread over ten locations under one top location

struct Target : BenchDatabase {
    ULong half = 0;  // a location holding half the assets
};

void Fill(Target& t) {
    CNorvikSql& db = *t.db;
    const ULong perPc = db.AddLicenceType("Seat");
    db.SetLicenceTypeFlag(perPc, CNorvik::kLicencePerPc, 1);
    const ULong site = db.AddLicenceType("Site");
    const ULong top = db.locAdd("Site", 0, 0, CIPAddress(), CIPAddress());
    t.half = db.locAdd("West", top, 0, CIPAddress(), CIPAddress());
    const ULong east = db.locAdd("East", top, 0, CIPAddress(), CIPAddress());
    ULong rooms[kLocations];
    for (int i = 0; i < kLocations; ++i)
        rooms[i] = db.locAdd(CString::Formatted("Room %d", i), i < kLocations / 2 ? t.half : east, 0, CIPAddress(),
                             CIPAddress());
    std::string rows;
    for (int a = 1; a <= kApps; ++a) {
        const bool licensed = a <= kLicensed;
        const ULong type = !licensed ? 1 : (a % 2 == 0 ? perPc : site);
        if (!rows.empty()) rows += ',';
        rows += std::string("('Publisher ") + std::to_string(a % 37) + "','App " + std::to_string(a) + "'," +
                std::to_string(type) + "," + std::to_string(licensed ? 900 : 0) + ")";
    }
    InsertRows(db, "insert into APPS (_MFR,_APP,_LICTYPE,_LICCOUNT) values ", rows);
    rows.clear();
    for (int i = 0; i < kAssets; ++i) {
        if (!rows.empty()) rows += ',';
        rows += std::string("('PC-") + std::to_string(i) + "'," + std::to_string(rooms[i % kLocations]) + ",2)";
    }
    InsertRows(db, "insert into ASSET (_NAME,_LOCATION,_STATUS) values ", rows);
    // Asset i holds applications i*kPerAsset .. +kPerAsset-1 modulo kApps, so each application
    // is on the same number of assets.
    for (int i = 0; i < kAssets; ++i) {
        rows.clear();
        for (int k = 0; k < kPerAsset; ++k) {
            char row[32];
            std::snprintf(row, sizeof row, "%s(%d,%d)", rows.empty() ? "" : ",", i + 1,
                          (i * kPerAsset + k) % kApps + 1);
            rows.append(row);
        }
        InsertRows(db, "insert into APPINST (_ASSET,_APP) values ", rows);
    }
}

Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        Fill(target);
    }
    return target;
}

void Report(benchmark::State& state, Engine engine, bool half) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        const auto rows = BuildLicenceReport(*t.db, half ? t.half : 0);
        if (rows.size() != kLicensed) state.SkipWithError("the report lost rows");
    }
}

void OverUseCheck(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    const CTime when = CTime::GetCurrentTime();
    for (auto _ : state) {
        state.PauseTiming();
        t.db->ExecuteStatement("delete from LICALERTS");
        state.ResumeTiming();
        CDynaList<ULong> added;
        if (t.db->licensealertCheckOverUse(when, &added) != kLicensed / 2 || added.GetCount() != kLicensed / 2)
            state.SkipWithError("the check missed over-used applications");
    }
}

// The grouped count alone: what the check's one pass costs the driver.
void CountFloor(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        ULong total = 0;
        CSqlRecordset rs(t.db.get(),
                         "select APPINST._APP ,count(*) from APPINST where APPINST._APP <> 0 and APPINST._APP in "
                         "(select _ID from APPS where _LICTYPE > 1 or _ALIAS <> 0) group by APPINST._APP");
        for (; !rs.IsEOF(); rs.MoveNext()) total += rs.NumberAt(1);
        benchmark::DoNotOptimize(total);
    }
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        benchmark::RegisterBenchmark(("licence report/site/" + name).c_str(), Report, engine, false)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("licence report/half/" + name).c_str(), Report, engine, true)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("over-use check/" + name).c_str(), OverUseCheck, engine)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("floor: grouped count/" + name).c_str(), CountFloor, engine)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
}
