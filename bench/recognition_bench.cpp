// Recognition at full size: CAuditDBSys::Open on a Knowledge Base of 1,000,000 known files, and
// RecogniseAsset over an audit of 20,000 files (half of them known) against it. Target: at least
// 500,000 files recognised per second.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "kb/auditdbsys.h"
#include "platform/archive.h"
#include "platform/file.h"
#include "platform/ui_hooks.h"

namespace {

constexpr ULong kKnownFiles = 1000000;
constexpr ULong kDistinctNames = 200000;
constexpr ULong kApplications = 20000;
constexpr ULong kAuditFiles = 20000;

// SYSFILE as the builder makes it, plus the tables Reset opens record sets on, written once to a
// file in the temporary folder (removed at exit); the audit draws half its files from it.
struct Fixture {
    Fixture() {
        std::mt19937 random(7);
        CTableDatabase db;
        CTable files("SYSFILE");
        files.AddColumn("NAME", CTable::typeText);
        for (const char* column : {"APP", "SIZE", "SIZEMAX", "CRC", "DATE", "FLAGS"})
            files.AddColumn(column, CTable::typeNumber);
        std::vector<std::string> names;
        for (ULong i = 0; i < kDistinctNames; ++i) names.push_back("file" + std::to_string(i) + ".dll");
        for (ULong i = 0; i < kKnownFiles; ++i) {
            const ULong row = files.AddRow();
            files.SetText(row, 1, names[random() % kDistinctNames].c_str());
            files.SetValue(row, 2, 1 + random() % kApplications);
            files.SetValue(row, 3, 1000 + random() % 100000);
            files.SetValue(row, 5, random() % 4 == 0 ? 0 : static_cast<ULong>(random()) | 1);
            files.SetValue(row, 6, random() % 2 == 0 ? 0 : static_cast<ULong>(random()) & 0xFFFF0000);
            files.SetValue(row, 7, random() % 5 == 0 ? 2 : 0);
        }
        for (ULong i = 0; i < kAuditFiles; ++i) {
            if (i % 2 == 0) {
                const ULong row = random() % kKnownFiles;
                audit.AddFile(files.GetText(row, 1), files.GetValue(row, 3), files.GetValue(row, 5),
                              files.GetValue(row, 6) | 0x1234);
            } else {
                audit.AddFile(("unknown" + std::to_string(i) + ".exe").c_str(), 4096, static_cast<ULong>(random()), 0);
            }
        }
        db.AddTable(files);
        for (const char* name : {"CAT", "MAKE", "MODEL", "SWSERIAL"}) db.AddTable(CTable(name));
        db.SetVersion(4, 0);
        path = (std::filesystem::temp_directory_path() / ("norvik_recognition_bench_" + std::to_string(::getpid())))
                   .string();
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive ar(file, CArchive::store, CTableDatabase::kFileBufferSize);
        db.Serialize(ar);
        ar.Close();
        file.Close();
    }
    ~Fixture() { std::filesystem::remove(path); }

    std::string path;
    CAudBase audit;
};

Fixture& Data() {
    static Fixture fixture;
    return fixture;
}

void BM_OpenKnowledgeBase(benchmark::State& state) {
    Fixture& data = Data();
    for (auto _ : state) {
        CAuditDBSys kb;
        if (!kb.Open(data.path.c_str())) state.SkipWithError("the Knowledge Base did not open");
    }
    state.counters["known_files"] = kKnownFiles;
}
BENCHMARK(BM_OpenKnowledgeBase)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_RecogniseAsset(benchmark::State& state) {
    Fixture& data = Data();
    CAuditDBSys kb;
    if (!kb.Open(data.path.c_str())) state.SkipWithError("the Knowledge Base did not open");
    std::vector<unsigned long> results(kAuditFiles);
    ULong recognised = 0;
    for (auto _ : state) {
        std::fill(results.begin(), results.end(), 0);
        kb.RecogniseAsset(data.audit, results.data());
        recognised = static_cast<ULong>(std::count_if(results.begin(), results.end(), [](auto r) { return r != 0; }));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kAuditFiles));
    state.counters["recognised"] = recognised;
}
BENCHMARK(BM_RecogniseAsset)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
