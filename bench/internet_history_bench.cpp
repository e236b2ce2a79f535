// Internet pages counted per second through ieHistAdd with page count 0, on SQLite and on
// PostgreSQL ($NORVIK_TEST_PG_DSN): one iteration is an asset's day of 2,000 visits to 300
// sites, the shape an audit of a busy workstation's browser history imports.
#include <benchmark/benchmark.h>

#include "bench_support.h"

#include <string>
#include <vector>

#include "sql/sql_recordset.h"

namespace {

constexpr int kVisits = 2000;
constexpr int kSites = 300;

struct Target : BenchDatabase {
    std::vector<CString> sites;
    ULong asset = 0;  // a new asset per day keeps every day's work the same
};

Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        for (int i = 0; i < kSites; ++i)
            target.sites.push_back(CString::Formatted("https://site-%03d.example.com/", i));
    }
    return target;
}

// The visit times of one day, spread from 08:00 on, each visit to the next site in turn.
CTime VisitTime(int visit) { return CTime(2009, 3, 10, 8 + visit / 200, (visit / 4) % 60, visit % 60); }

void DayOfVisits(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        ++t.asset;
        for (int visit = 0; visit < kVisits; ++visit) {
            if (t.db->ieHistAdd(t.asset, VisitTime(visit), t.sites[visit % kSites], 0) == 0) {
                state.SkipWithError("ieHistAdd failed");
                return;
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * kVisits);
}

// The floor: per visit only the lookup by asset and site and one write (the insert of a
// site's first visit, else the update), sent straight through the statement helpers without
// the day comparison or the page-count read.
void StatementsAlone(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) {
        ++t.asset;
        for (int visit = 0; visit < kVisits; ++visit) {
            const CString site = CSqlDatabase::SqlQuote(t.sites[visit % kSites]);
            ULong row = 0;
            {
                CSqlRecordset rs(t.db.get(),
                                 CString::Formatted("select _ID,_DATE from IEHIST where _ASSET=%d and _SITE=%s",
                                                    static_cast<int>(t.asset), site.c_str()));
                if (!rs.IsEOF()) row = rs.NumberAt(0);
            }
            if (row == 0) {
                t.db->InsertRecord("IEHIST", "_ASSET,_DATE,_SITE,_PAGECOUNT",
                                   CString::Formatted("%d,%s,%s,1", static_cast<int>(t.asset),
                                                      CSqlDatabase::SqlTime(VisitTime(visit)).c_str(), site.c_str()));
            } else {
                t.db->ExecuteStatement(CString::Formatted("update IEHIST set _PAGECOUNT=_PAGECOUNT+1 where _ID=%d",
                                                          static_cast<int>(row)));
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * kVisits);
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        // Rates are of wall-clock time: on PostgreSQL most of the work is the server's.
        benchmark::RegisterBenchmark(("ieHistAdd/day-of-2000-visits/" + name).c_str(), DayOfVisits, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("ieHistAdd/statements-alone/" + name).c_str(), StatementsAlone, engine)
            ->MinTime(2)
            ->UseRealTime();
    }
}
