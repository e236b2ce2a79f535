// Importing agent inventories generated here in the shape of real ones (a 3,000-software and a
// 300-software machine, each with ~300 hardware values): the parse into the model per format
// (reader and mapping, no database), and the database part of the writer (asset record,
// catalogue, hardware tree, applications and instances with their history) for a first import
// and an unchanged re-import, on SQLite and PostgreSQL
// ($NORVIK_TEST_PG_DSN). Together they give the parse/database split of an import. One and four
// writers at once give what concurrent importers reach, beside the driver's floor.
#include <benchmark/benchmark.h>

#include "bench_support.h"
#include "generated_inventory.h"

#include <atomic>
#include <string>
#include <thread>

#include "import/import_transactions.h"
#include "import/inventory_reader.h"
#include "import/inventory_writer.h"
#include "platform/odbc_prepared.h"

namespace {

void Parse(benchmark::State& state, bool xml, int software) {
    const std::string text = xml ? XmlInventory(software, 1) : JsonInventory(software, 1);
    std::size_t read = 0;
    for (auto _ : state) {
        Inventory inventory;
        std::string error;
        if (!ReadInventory("bench", text, inventory, error)) state.SkipWithError(error.c_str());
        read = inventory.software.size();
        benchmark::DoNotOptimize(inventory);
    }
    if (read != static_cast<std::size_t>(software)) state.SkipWithError("software entries lost");
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
    state.counters["inventories/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["KB"] = static_cast<double>(text.size()) / 1024;
}

BenchDatabase& DatabaseFor(Engine engine) {
    static BenchDatabase databases[2];
    BenchDatabase& target = databases[engine == Engine::Sqlite ? 0 : 1];
    if (!target.db) target.Open(engine);
    return target;
}

// Gives every software entry an install folder below a folder per publisher and one file there,
// as agents that report install locations and executables do.
void AddFolders(Inventory& inventory) {
    for (InventorySoftware& entry : inventory.software) {
        entry.folder = "C:\\Program Files\\" + entry.publisher + "\\" + entry.name;
        entry.files = {{entry.name + ".exe", 40960}};
    }
}

// The writer's part of a first import (a new machine each time) or of an unchanged re-import;
// with `files`, each entry also brings a folder and a file.
void WriteInventories(benchmark::State& state, Engine engine, int software, bool again, bool files) {
    BenchDatabase& target = DatabaseFor(engine);
    SqlImportTransactions transactions(*target.db);
    CInventoryWriter writer(*target.db, transactions);
    static int machines = 0;
    Inventory inventory;
    std::string error;
    ImportOutcome outcome;
    if (again) {
        ReadInventory("bench", XmlInventory(software, ++machines), inventory, error);
        if (files) AddFolders(inventory);
        writer.Apply(inventory, outcome, error);
    }
    for (auto _ : state) {
        if (!again) {
            state.PauseTiming();
            inventory = Inventory{};
            ReadInventory("bench", XmlInventory(software, ++machines), inventory, error);
            if (files) AddFolders(inventory);
            state.ResumeTiming();
        }
        if (!writer.Apply(inventory, outcome, error)) state.SkipWithError(error.c_str());
    }
    state.counters["inventories/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["hw values"] = static_cast<double>(outcome.hardwareValues);
    state.counters["applications"] = static_cast<double>(outcome.applications);
}

void Write(benchmark::State& state, Engine engine, int software, bool again) {
    WriteInventories(state, engine, software, again, false);
}

void WriteWithFiles(benchmark::State& state, Engine engine, int software, bool again) {
    WriteInventories(state, engine, software, again, true);
}

// `writers` importers at once, each on a connection of its own with machines of its own (first
// imports, parsed beforehand): what the database takes from concurrent writers, to compare with
// one writer run the same way. SQLite lets one writer in at a time; the others wait in the engine.
void ConcurrentWriters(benchmark::State& state, Engine engine, int writers) {
    constexpr int kPerWriter = 10;
    BenchDatabase& target = DatabaseFor(engine);
    std::vector<std::unique_ptr<CNorvikSql>> connections;
    for (int i = 0; i < writers; ++i) {
        connections.push_back(std::make_unique<CNorvikSql>(target.kb));
        connections.back()->Open(target.scratch->ConnectionString().c_str(), nullptr, 0x4);
    }
    static std::atomic<int> machines{100000};
    std::atomic<int> failures{0};
    std::string failure;
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<std::vector<Inventory>> work(writers);
        for (auto& inventories : work) {
            inventories.resize(kPerWriter);
            std::string error;
            for (Inventory& inventory : inventories)
                ReadInventory("bench", XmlInventory(300, ++machines), inventory, error);
        }
        state.ResumeTiming();
        std::vector<std::thread> threads;
        for (int i = 0; i < writers; ++i)
            threads.emplace_back([&, i] {
                SqlImportTransactions transactions(*connections[i]);
                CInventoryWriter writer(*connections[i], transactions);
                ImportOutcome outcome;
                std::string error;
                for (const Inventory& inventory : work[i])
                    if (!writer.Apply(inventory, outcome, error) && failures++ == 0) failure = error;
            });
        for (std::thread& thread : threads) thread.join();
    }
    if (failures > 0) state.SkipWithError((std::to_string(failures) + " inventories failed: " + failure).c_str());
    state.counters["inventories/s"] =
        benchmark::Counter(static_cast<double>(state.iterations() * writers * kPerWriter), benchmark::Counter::kIsRate);
}

// The driver's floor for one row per entry: a bare prepared insert of `rows` instance rows in
// one transaction, what any writer that sends a statement per software entry pays at least.
void PreparedInsertFloor(benchmark::State& state, Engine engine, int rows) {
    BenchDatabase& target = DatabaseFor(engine);
    COdbcPrepared& insert = target.db->Prepared(
        "insert into APPINST (_ASSET, _APP, _SERIAL, _VERSION, _FILES, _FLAGS) values (?, ?, '', ?, 0, 0)");
    for (auto _ : state) {
        target.db->BeginTrans();
        for (int i = 0; i < rows; ++i) {
            insert.SetLong(1, 999999);
            insert.SetLong(2, i + 1);
            insert.SetText(3, "1.0-1ubuntu0.22.04");
            insert.Execute();
        }
        target.db->Rollback();
    }
}

// The server's floor for one 300-software inventory (PostgreSQL): its rows alone, 300 instances
// and 305 hardware values of a new machine, inserted by two prepared statements over arrays and
// committed. No writer that keeps these rows and their indexes can go below it.
void SetInsertFloor(benchmark::State& state) {
    BenchDatabase& target = DatabaseFor(Engine::PostgreSql);
    COdbcPrepared& instances = target.db->Prepared(
        "insert into APPINST (_ASSET, _APP, _SERIAL, _VERSION, _FILES, _FLAGS) select cast(? as integer), A, '', V, 0, "
        "0 from unnest(cast(? as integer[]), cast(? as text[])) as X(A, V)");
    COdbcPrepared& values = target.db->Prepared(
        "insert into HW (_PARENT, _ASSET, _FLAGS, _KEY, _VAL) select P, cast(? as integer), 0, K, V from "
        "unnest(cast(? as integer[]), cast(? as text[]), cast(? as text[])) as X(P, K, V)");
    std::string apps, versions, parents, keys, texts;
    for (int i = 0; i < 300; ++i) {
        if (i > 0) apps += ',';
        apps += std::to_string(i + 1);
        CSqlDatabase::AppendArrayText(versions, ("1." + std::to_string(i % 17) + "-1ubuntu0.22.04").c_str());
    }
    for (int i = 0; i < 305; ++i) {
        if (i > 0) parents += ',';
        parents += std::to_string(1 + i % 40);
        CSqlDatabase::AppendArrayText(keys, ("Key " + std::to_string(i)).c_str());
        CSqlDatabase::AppendArrayText(texts, ("A value of the machine, " + std::to_string(i * 7919)).c_str());
    }
    static int asset = 2000000;
    for (auto _ : state) {
        ++asset;
        target.db->BeginTrans();
        instances.SetLong(1, asset);
        instances.SetText(2, ("{" + apps + "}").c_str());
        instances.SetText(3, ("{" + versions + "}").c_str());
        instances.Execute();
        values.SetLong(1, asset);
        values.SetText(2, ("{" + parents + "}").c_str());
        values.SetText(3, ("{" + keys + "}").c_str());
        values.SetText(4, ("{" + texts + "}").c_str());
        values.Execute();
        target.db->CommitTrans();
    }
    state.counters["inventories/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

}  // namespace

void RegisterBenchmarks() {
    for (const int software : {3000, 300}) {
        const std::string size = std::to_string(software) + "-software";
        benchmark::RegisterBenchmark(("Parse/xml/" + size).c_str(), Parse, true, software)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Parse/json/" + size).c_str(), Parse, false, software)
            ->Unit(benchmark::kMillisecond);
    }
    for (const Engine engine : {Engine::Sqlite, Engine::PostgreSql}) {
        const std::string name = EngineName(engine);
        for (const int software : {3000, 300}) {
            const std::string size = std::to_string(software) + "-software/";
            benchmark::RegisterBenchmark(("Write/first-import/" + size + name).c_str(), Write, engine, software, false)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->MinTime(2);
            benchmark::RegisterBenchmark(("Write/unchanged-reimport/" + size + name).c_str(), Write, engine, software,
                                         true)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->MinTime(2);
            benchmark::RegisterBenchmark(("Floor/prepared-insert/" + size + name).c_str(), PreparedInsertFloor, engine,
                                         software)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
        if (engine == Engine::PostgreSql)
            benchmark::RegisterBenchmark("Floor/set-insert/300-software/PostgreSQL", SetInsertFloor)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->MinTime(2);
        for (const int writers : {1, 4})
            benchmark::RegisterBenchmark(
                ("Write/writers-at-once/" + std::to_string(writers) + "/300-software/" + name).c_str(),
                ConcurrentWriters, engine, writers)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->MinTime(3);
        for (const bool again : {false, true}) {
            const std::string kind = again ? "unchanged-reimport" : "first-import";
            benchmark::RegisterBenchmark(("Write/" + kind + "-with-files/3000-software/" + name).c_str(),
                                         WriteWithFiles, engine, 3000, again)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->MinTime(2);
        }
    }
}
