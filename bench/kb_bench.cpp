// The Knowledge Base at full size: a table of 1,000,000 file rows (200,000 distinct names)
// written to and read from a file beside a plain read of the same file, index builds over a
// number and a text column, and seeks in them.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kb/index_recset.h"
#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/file.h"

namespace {

constexpr ULong kRows = 1000000;
constexpr ULong kDistinctNames = 200000;

// File names as an audit finds them: well-known system and installer files, then names made of
// the stems and extensions that make up most of a software folder.
std::vector<std::string> FileNames() {
    std::vector<std::string> names = {
        "msvcrt.dll",       "setup.exe",    "kernel32.dll", "user32.dll",    "readme.txt",   "uninst.exe",
        "mfc42.dll",        "msvbvm60.dll", "comctl32.ocx", "install.log",   "license.rtf",  "gdiplus.dll",
        "msvcp60.dll",      "oleaut32.dll", "shell32.dll",  "unins000.exe",  "unins000.dat", "help.chm",
        "config.ini",       "update.exe",   "msvcr71.dll",  "atl71.dll",     "data.cab",     "autorun.inf",
        "vcruntime140.dll", "msvcp140.dll", "d3dx9_43.dll", "xinput1_3.dll", "msxml4.dll",   "riched20.dll",
    };
    const char* const stems[] = {"app", "lib",  "res", "msg", "hlp", "vb",  "sql", "crt",  "ole", "shell",
                                 "net", "core", "ui",  "db",  "log", "cfg", "x86", "intl", "enu", "plugin"};
    const char* const extensions[] = {".dll", ".exe", ".ocx", ".sys", ".hlp", ".inf", ".dat", ".chm"};
    for (ULong i = 0; names.size() < kDistinctNames; ++i) {
        names.push_back(std::string(stems[i % 20]) + std::to_string(i / 20) + extensions[i / 7 % 8]);
    }
    return names;
}

// The benchmark's Knowledge Base, built once: FILES (ID, NAME, SIZE, CRC, DATE, APP) written to a
// file in the temporary folder, which is removed at exit.
struct Fixture {
    Fixture() : names(FileNames()) {
        CTable files("FILES");
        files.AddColumn("NAME", CTable::typeText);
        files.AddColumn("SIZE", CTable::typeNumber);
        files.AddColumn("CRC", CTable::typeNumber);
        files.AddColumn("DATE", CTable::typeNumber);
        files.AddColumn("APP", CTable::typeNumber);
        std::mt19937 random(20240611);
        // Every name once, then the common ones far more often than the rest.
        std::vector<ULong> order(kDistinctNames);
        for (ULong i = 0; i < kDistinctNames; ++i) order[i] = i;
        std::shuffle(order.begin(), order.end(), random);
        std::geometric_distribution<ULong> popular(0.0005);
        for (ULong i = 0; i < kRows; ++i) {
            const ULong row = files.AddRow();
            const ULong name = i < kDistinctNames ? order[i] : std::min(popular(random), kDistinctNames - 1);
            files.SetText(row, 1, names[name].c_str());
            files.SetValue(row, 2, 1024 + random() % 4000000);
            files.SetValue(row, 3, static_cast<ULong>(random()));
            files.SetValue(row, 4, 0x1A000000 + random() % 0x00FFFFFF);
            files.SetValue(row, 5, 1 + random() % 30000);
        }
        db.AddTable(files);
        path =
            (std::filesystem::temp_directory_path() / ("norvik_kb_bench_" + std::to_string(getpid()) + ".kb")).string();
        Write();
        bytes = std::filesystem::file_size(path);
    }
    ~Fixture() { std::filesystem::remove(path); }

    void Write() {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive ar(file, CArchive::store, CTableDatabase::kFileBufferSize);
        db.Serialize(ar);
        ar.Close();
        file.Close();
    }

    std::vector<std::string> names;
    CTableDatabase db;
    std::string path;
    std::uint64_t bytes = 0;
};

Fixture& Data() {
    static Fixture fixture;
    return fixture;
}

// The whole file through CFile in large blocks: what the disk and the page cache deliver.
std::uint64_t PlainRead(const std::string& path) {
    static std::vector<char> buffer(1 << 20);
    CFile file(path.c_str(), CFile::modeRead);
    std::uint64_t total = 0;
    while (const std::size_t got = file.Read(buffer.data(), buffer.size())) total += got;
    return total;
}

void SetMegabytesPerSecond(benchmark::State& state, std::uint64_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
    state.counters["MB/s"] =
        benchmark::Counter(static_cast<double>(state.iterations() * bytes) / 1e6, benchmark::Counter::kIsRate);
}

void WriteFile(benchmark::State& state) {
    Fixture& data = Data();
    for (auto _ : state) data.Write();
    SetMegabytesPerSecond(state, data.bytes);
}
BENCHMARK(WriteFile)->Unit(benchmark::kMillisecond)->UseRealTime();

void PlainReadFile(benchmark::State& state) {
    Fixture& data = Data();
    for (auto _ : state) benchmark::DoNotOptimize(PlainRead(data.path));
    SetMegabytesPerSecond(state, data.bytes);
}
BENCHMARK(PlainReadFile)->Unit(benchmark::kMillisecond)->UseRealTime();

void LoadFile(benchmark::State& state) {
    Fixture& data = Data();
    double load = 0;
    for (auto _ : state) {
        auto db = std::make_unique<CTableDatabase>();
        const auto start = std::chrono::steady_clock::now();
        CFile file(data.path.c_str(), CFile::modeRead);
        CArchive ar(file, CArchive::load, CTableDatabase::kFileBufferSize);
        db->Serialize(ar);
        benchmark::DoNotOptimize((*db)[0].GetRowCount());
        load += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        // Freeing the tables read is not part of reading them.
        state.PauseTiming();
        db.reset();
        state.ResumeTiming();
    }
    SetMegabytesPerSecond(state, data.bytes);
    // The load's speed as a share of a plain read's, timed right after it on the same file.
    const auto plainStart = std::chrono::steady_clock::now();
    for (benchmark::IterationCount i = 0; i < state.iterations(); ++i) PlainRead(data.path);
    const double plain = std::chrono::duration<double>(std::chrono::steady_clock::now() - plainStart).count();
    state.counters["%_of_plain_read"] = 100.0 * plain / load;
}
BENCHMARK(LoadFile)->Unit(benchmark::kMillisecond)->UseRealTime();

void BuildIndex(benchmark::State& state, std::uint16_t column) {
    Fixture& data = Data();
    for (auto _ : state) {
        CIndexRecSet index(&data.db);
        index.Open("select * from FILES", column);
        benchmark::DoNotOptimize(index.GetEntryCount());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kRows));
}
BENCHMARK_CAPTURE(BuildIndex, NumberCRC, 3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BuildIndex, TextNAME, 1)->Unit(benchmark::kMillisecond)->UseRealTime();

void SeekText(benchmark::State& state) {
    Fixture& data = Data();
    CIndexRecSet index(&data.db);
    index.Open("select * from FILES", 1);
    // Keys in a random order, most of them present, one in eight a miss.
    std::mt19937 random(7);
    std::vector<std::string> keys;
    for (int i = 0; i < 65536; ++i) {
        const std::string& name = data.names[random() % kDistinctNames];
        keys.push_back(i % 8 == 0 ? name + "~" : name);
    }
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(index.SeekText(keys[i++ & 65535].c_str(), true));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(SeekText);

void SeekValue(benchmark::State& state) {
    Fixture& data = Data();
    CIndexRecSet index(&data.db);
    index.Open("select * from FILES", 3);
    std::mt19937 random(7);
    std::vector<ULong> keys;
    for (int i = 0; i < 65536; ++i) keys.push_back(data.db[0].GetValue(random() % kRows, 3));
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(index.SeekValue(keys[i++ & 65535], false));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(SeekValue);

}  // namespace

BENCHMARK_MAIN();
