// Hardware values written per second through hwAdd (the value form an audit import calls for
// every item), into trees of 300 values per asset, and the time of one hwEnum walk over a whole
// tree, on SQLite and on PostgreSQL ($NORVIK_TEST_PG_DSN). Target on SQLite: 5,000 values a
// second.
#include <benchmark/benchmark.h>

#include "bench_support.h"

#include <memory>
#include <string>
#include <vector>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/scratch_database.h"

namespace {

// 10 categories of 30 values, two levels deep as real trees are ("Adapters|Network").
constexpr int kCategories = 10;
constexpr int kValuesPerCategory = 30;
constexpr int kValuesPerAsset = kCategories * kValuesPerCategory;

struct Target : BenchDatabase {
    std::vector<ULong> categories;
    ULong assets = 0;
    ULong fullTree = 0;  // an asset whose tree is complete, for the walk
};

Target& TargetFor(Engine engine) {
    static Target targets[2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) {
        target.Open(engine);
        for (int c = 0; c < kCategories; ++c)
            target.categories.push_back(
                target.db->hwAdd(CString::Formatted("Group %d|Category %d", c / 3, c), '|', CNorvik::kHwCategory));
    }
    return target;
}

ULong NewAsset(Target& t) {
    return t.db->AddAsset(CString::Formatted("PC-%06u", static_cast<unsigned>(++t.assets)), 0, 0, 0, CTime());
}

// Writes value `n` of an asset's tree.
ULong AddValue(Target& t, ULong asset, int n) {
    return t.db->hwAdd(t.categories[static_cast<std::size_t>(n / kValuesPerCategory)], asset, 0x2002,
                       CString::Formatted("Item %d", n % kValuesPerCategory), CString::Formatted("%d", n * 1024));
}

void HwAddValues(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    ULong asset = 0;
    int n = kValuesPerAsset;
    for (auto _ : state) {
        if (n == kValuesPerAsset) {
            state.PauseTiming();
            asset = NewAsset(t);
            n = 0;
            state.ResumeTiming();
        }
        if (AddValue(t, asset, n++) == 0) state.SkipWithError("hwAdd failed");
    }
    state.SetItemsProcessed(state.iterations());
}

// A re-audit: every value exists already and is updated in place.
void HwAddExisting(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    const ULong asset = NewAsset(t);
    for (int n = 0; n < kValuesPerAsset; ++n) AddValue(t, asset, n);
    int n = 0;
    for (auto _ : state) {
        if (AddValue(t, asset, n) == 0) state.SkipWithError("hwAdd failed");
        n = (n + 1) % kValuesPerAsset;
    }
    state.SetItemsProcessed(state.iterations());
}

int Walk(CNorvikSql& db, ULong asset, ULong parent) {
    CSortList list;
    db.hwEnum(asset, parent, list, 0xFFFFFFFF);
    int nodes = static_cast<int>(list.GetCount());
    for (const CSortItem& item : list)
        if (item.extra & CNorvik::kHwCategory) nodes += Walk(db, asset, item.id);
    return nodes;
}

// hwEnum from the roots down through every category of a 300-value tree.
void HwEnumTree(benchmark::State& state, Engine engine) {
    Target& t = TargetFor(engine);
    if (t.fullTree == 0) {
        t.fullTree = NewAsset(t);
        for (int n = 0; n < kValuesPerAsset; ++n) AddValue(t, t.fullTree, n);
    }
    const int expected = kValuesPerAsset + kCategories + 4;  // values, categories, groups
    for (auto _ : state)
        if (Walk(*t.db, t.fullTree, 0) != expected) state.SkipWithError("the walk missed nodes");
    state.counters["nodes"] = expected;
}

}  // namespace

void RegisterBenchmarks() {
    for (Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        benchmark::RegisterBenchmark(("HwAdd/new-values/" + name).c_str(), HwAddValues, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("HwAdd/existing-values/" + name).c_str(), HwAddExisting, engine)
            ->MinTime(2)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("HwEnum/300-value-tree/" + name).c_str(), HwEnumTree, engine)
            ->MinTime(2)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
}
