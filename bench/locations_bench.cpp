// locFindByIP lookups per second over 1,000 locations with 4 address ranges each, on SQLite
// and on PostgreSQL ($NORVIK_TEST_PG_DSN). Every lookup reads the whole table, so a hit costs
// about half a scan and a miss a full one.
#include <benchmark/benchmark.h>

#include "bench_support.h"

#include <memory>
#include <random>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/scratch_database.h"

namespace {

constexpr ULong kLocations = 1000;
constexpr ULong kRanges = 4;
// Location i owns the ranges kBase + i*64 + r*16 to that plus 9, for r = 0 to 3.
constexpr ULong kBase = 10u << 24;

ULong RangeStart(ULong location, ULong range) { return kBase + location * 64 + range * 16; }

struct Target : BenchDatabase {
    ULong firstId = 0;
};

Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        for (ULong i = 0; i < kLocations; ++i) {
            CString from;
            CString to;
            for (ULong r = 0; r < kRanges; ++r) {
                from += CString(r ? ";" : "") + CIPAddress(RangeStart(i, r)).GetAsText();
                to += CString(r ? ";" : "") + CIPAddress(RangeStart(i, r) + 9).GetAsText();
            }
            const ULong id = target.db->locAdd(CString::Formatted("Room %u", i), 0, 0, CIPAddress(), CIPAddress());
            target.db->locSetIpAddressRanges(id, from, to);
            if (i == 0) target.firstId = id;
        }
    }
    return target;
}

// Addresses inside a range of a location chosen at random, the range chosen at random too.
void FindByIpHit(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    std::mt19937 random(7);
    ULong wrong = 0;
    for (auto _ : state) {
        const ULong location = random() % kLocations;
        const ULong found = t.db->locFindByIP(CIPAddress(RangeStart(location, random() % kRanges) + 5));
        if (found != t.firstId + location) ++wrong;
    }
    if (wrong) state.SkipWithError("a lookup found the wrong location");
    state.SetItemsProcessed(state.iterations());
}

// An address no range holds: every row is read and every range tested.
void FindByIpMiss(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    for (auto _ : state) benchmark::DoNotOptimize(t.db->locFindByIP(CIPAddress(kBase - 1)));
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        benchmark::RegisterBenchmark(("locFindByIP/hit/" + name).c_str(), FindByIpHit, engine)->MinTime(2);
        benchmark::RegisterBenchmark(("locFindByIP/miss/" + name).c_str(), FindByIpMiss, engine)->MinTime(2);
    }
}
