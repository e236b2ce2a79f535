// The site report over 1,000 assets (four categories, five operating systems, audit dates
// spread over ninety days), 300 applications of 25 publishers with 100 instances per asset and
// 20 licensed applications, on SQLite and on PostgreSQL ($NORVIK_TEST_PG_DSN). Target: under
// 0.5 s on SQLite. The report reads each asset's row and category name through the interface,
// about two statements an asset, which PostgreSQL's round trips make several times slower. The
// floor is what the report must read at least: the asset rows with their category names, the
// operating system values and the grouped installation count, straight through the cursor.
#include <benchmark/benchmark.h>
#include <cstdio>

#include "bench_support.h"

#include <string>

#include "report/site_report.h"
#include "sql/sql_recordset.h"

namespace {

constexpr int kAssets = 1000;
constexpr int kApps = 300;
constexpr int kPerAsset = 100;
constexpr int kLicensed = 20;
constexpr std::int64_t kDay = 24 * 60 * 60;

void Fill(CNorvikSql& db, CTime now) {
    const char* categories[] = {"Desktop", "Laptop", "Server", "Virtual Machine"};
    ULong categoryIds[4];
    for (int i = 0; i < 4; ++i) categoryIds[i] = db.AddCategory(categories[i], 0);
    std::string rows;
    for (int i = 0; i < kAssets; ++i) {
        // Every seventh asset was never audited; the others within the last ninety days.
        const CString audited =
            i % 7 == 0 ? CString("null") : CNorvikSql::SqlTime(CTime(now.GetTime() - (i % 90) * kDay));
        if (!rows.empty()) rows += ',';
        rows += std::string("('PC-") + std::to_string(i) + "',2," + std::to_string(categoryIds[i % 4]) + "," +
                audited.str() + ")";
    }
    InsertRows(db, "insert into ASSET (_NAME,_STATUS,_CAT,_AUDDATE) values ", rows);

    const ULong os = db.hwAdd(CNorvik::m_szOS, '|', CNorvik::kHwCategory);
    const char* systems[] = {"Microsoft Windows 11 Pro", "Microsoft Windows 10 Pro", "Debian GNU/Linux", "Ubuntu",
                             "macOS"};
    rows.clear();
    for (int i = 1; i <= kAssets; ++i) {
        if (!rows.empty()) rows += ',';
        rows += std::string("(") + std::to_string(os) + "," + std::to_string(i) + ",'Name','" + systems[i % 5] +
                "',2),(" + std::to_string(os) + "," + std::to_string(i) + ",'Version','" + std::to_string(i % 3) +
                "',2)";
    }
    InsertRows(db, "insert into HW (_PARENT,_ASSET,_KEY,_VAL,_FLAGS) values ", rows);

    const ULong seat = db.AddLicenceType("Seat");
    db.SetLicenceTypeFlag(seat, CNorvik::kLicencePerPc, 1);
    rows.clear();
    for (int a = 1; a <= kApps; ++a) {
        const bool licensed = a <= kLicensed;
        if (!rows.empty()) rows += ',';
        rows += std::string("('Publisher ") + std::to_string(a % 25) + "','App " + std::to_string(a) + "'," +
                std::to_string(licensed ? seat : 1) + "," + std::to_string(licensed ? 300 : 0) + ")";
    }
    InsertRows(db, "insert into APPS (_MFR,_APP,_LICTYPE,_LICCOUNT) values ", rows);
    // Asset i holds the applications from (i * 7) on, so installation counts differ a little.
    for (int i = 0; i < kAssets; ++i) {
        rows.clear();
        for (int k = 0; k < kPerAsset; ++k) {
            if (!rows.empty()) rows += ',';
            char row[32];
            std::snprintf(row, sizeof row, "(%d,%d)", i + 1, (i * 7 + k * (1 + i % 3)) % kApps + 1);
            rows += row;
        }
        InsertRows(db, "insert into APPINST (_ASSET,_APP) values ", rows);
    }
}

CTime Now() {
    static const CTime now = CTime::GetCurrentTime();
    return now;
}

BenchDatabase& TargetFor(Engine engine) {
    static BenchDatabase targets[2];
    BenchDatabase& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        Fill(*target.db, Now());
    }
    return target;
}

void Report(benchmark::State& state, Engine engine) {
    BenchDatabase& t = TargetFor(engine);
    for (auto _ : state) {
        const SiteReport report = BuildSiteReport(*t.db, Now());
        if (report.assets != kAssets || report.categories.size() != 4 || report.operatingSystems.size() != 5 ||
            report.applications.size() != kSiteReportTop || report.licences.size() != kLicensed)
            state.SkipWithError("the report lost rows");
    }
}

void Floor(benchmark::State& state, Engine engine) {
    BenchDatabase& t = TargetFor(engine);
    for (auto _ : state) {
        ULong total = 0;
        {
            CSqlRecordset rs(t.db.get(),
                             "select ASSET._ID ,ASSET._STATUS ,ASSET._AUDDATE ,CAT._NAME from ASSET left join CAT on "
                             "CAT._ID = ASSET._CAT");
            for (; !rs.IsEOF(); rs.MoveNext()) total += rs.NumberAt(0) + rs.TextAt(3).GetLength();
        }
        {
            CSqlRecordset rs(t.db.get(), "select _ASSET ,_VAL from HW where _KEY = 'Name' and _ASSET <> 0");
            for (; !rs.IsEOF(); rs.MoveNext()) total += rs.TextAt(1).GetLength();
        }
        {
            CSqlRecordset rs(t.db.get(), "select _APP ,count(*) from APPINST group by _APP");
            for (; !rs.IsEOF(); rs.MoveNext()) total += rs.NumberAt(1);
        }
        benchmark::DoNotOptimize(total);
    }
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        benchmark::RegisterBenchmark(("site report/1000 assets/" + name).c_str(), Report, engine)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("floor: asset rows, systems, installations/" + name).c_str(), Floor, engine)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
}
