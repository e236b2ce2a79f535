// Each console page answered by its handler (no socket) over a generated site, on SQLite and
// on PostgreSQL ($NORVIK_TEST_PG_DSN): a small site of 25 assets, the size of a demo, and one of
// 5,000 assets with 300 applications each (1,500,000 installations), 30 locations in two levels,
// five operating systems and a week of history. Target: every page within 100 ms.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench_support.h"
#include "server/console/console.h"

namespace {

constexpr int kAppsPerAsset = 300;
constexpr int kCatalogue = 2000;
constexpr std::int64_t kDay = 24 * 60 * 60;

CTime Now() {
    static const CTime now = CTime::GetCurrentTime();
    return now;
}

void Fill(CNorvikSql& db, int assets) {
    const ULong category = db.AddCategory("Desktop", 0);
    std::vector<ULong> places;
    for (int i = 0; i < 6; ++i) {
        const ULong site = db.locAdd(CString::Formatted("Site %d", i), 0, 0, CIPAddress(), CIPAddress());
        places.push_back(site);
        for (int k = 0; k < 4; ++k)
            places.push_back(db.locAdd(CString::Formatted("Floor %d", k), site, 0, CIPAddress(), CIPAddress()));
    }
    std::string rows;
    for (int i = 0; i < assets; ++i) {
        const CString audited =
            i % 7 == 0 ? CString("null") : CNorvikSql::SqlTime(CTime(Now().GetTime() - (i % 90) * kDay));
        if (!rows.empty()) rows += ',';
        char row[256];
        std::snprintf(row, sizeof row, "('PC-%05d',%d,2,%d,'SN%07d','00:16:3e:%02x:%02x:%02x','10.%d.%d.%d',%s)", i,
                      static_cast<int>(places[i % places.size()]), static_cast<int>(category), i * 7, i / 65536 % 256,
                      i / 256 % 256, i % 256, i / 65536 % 256, i / 256 % 256, i % 256, audited.c_str());
        rows += row;
        if (rows.size() > 200000) {
            InsertRows(db, "insert into ASSET (_NAME,_LOCATION,_STATUS,_CAT,_SERIAL,_MACADDR,_IPADDR,_AUDDATE) values ",
                       rows);
            rows.clear();
        }
    }
    if (!rows.empty())
        InsertRows(db, "insert into ASSET (_NAME,_LOCATION,_STATUS,_CAT,_SERIAL,_MACADDR,_IPADDR,_AUDDATE) values ",
                   rows);

    const ULong os = db.hwAdd(CNorvik::m_szOS, '|', CNorvik::kHwCategory);
    const char* systems[] = {"Microsoft Windows 11 Pro", "Microsoft Windows 10 Pro", "Debian GNU/Linux", "Ubuntu",
                             "macOS"};
    rows.clear();
    for (int i = 1; i <= assets; ++i) {
        if (!rows.empty()) rows += ',';
        rows += "(" + std::to_string(os) + "," + std::to_string(i) + ",'Name','" + systems[i % 5] + "',2)";
    }
    InsertRows(db, "insert into HW (_PARENT,_ASSET,_KEY,_VAL,_FLAGS) values ", rows);

    const ULong seat = db.AddLicenceType("Seat");
    db.SetLicenceTypeFlag(seat, CNorvik::kLicencePerPc, 1);
    rows.clear();
    for (int a = 1; a <= kCatalogue; ++a) {
        const bool licensed = a <= 20;
        if (!rows.empty()) rows += ',';
        rows += "('Publisher " + std::to_string(a % 60) + "','App " + std::to_string(a) + "'," +
                std::to_string(licensed ? seat : 1) + "," + std::to_string(licensed ? 300 : 0) + ")";
    }
    InsertRows(db, "insert into APPS (_MFR,_APP,_LICTYPE,_LICCOUNT) values ", rows);
    rows.clear();
    for (int i = 0; i < assets; ++i) {
        for (int k = 0; k < kAppsPerAsset; ++k) {
            if (!rows.empty()) rows += ',';
            char row[48];
            std::snprintf(row, sizeof row, "(%d,%d,'%d.%d')", i + 1, (i * 7 + k * 3) % kCatalogue + 1, k % 4, i % 3);
            rows += row;
        }
        if (rows.size() > 400000 || i + 1 == assets) {
            InsertRows(db, "insert into APPINST (_ASSET,_APP,_VERSION) values ", rows);
            rows.clear();
        }
    }
    rows.clear();
    for (int i = 0; i < assets; ++i) {
        for (int d = 0; d < 3; ++d) {
            if (!rows.empty()) rows += ',';
            rows += "(" + std::to_string(i + 1) + "," +
                    CNorvikSql::SqlTime(CTime(Now().GetTime() - d * 2 * kDay)).str() + ",65549,'App " +
                    std::to_string(d + 1) + "','','','bench')";
        }
        if (rows.size() > 200000 || i + 1 == assets) {
            InsertRows(db, "insert into HISTORY (_ASSET,_DATE,_CODE,_KEY,_VALUE1,_VALUE2,_USERNAME) values ", rows);
            rows.clear();
        }
    }
}

struct Target {
    BenchDatabase database;
    ConsoleState console;
};

Target& TargetFor(Engine engine, int assets) {
    static Target targets[2][2];
    Target& target = targets[engine == Engine::Sqlite ? 0 : 1][assets > 100 ? 1 : 0];
    if (!target.database.db) {
        target.database.Open(engine);
        Fill(*target.database.db, assets);
    }
    return target;
}

void Page(benchmark::State& state, Engine engine, int assets, std::string path,
          std::vector<std::pair<std::string, std::string>> query) {
    Target& target = TargetFor(engine, assets);
    HttpRequest request;
    request.method = "GET";
    request.path = path;
    request.query = query;
    for (auto _ : state) {
        HttpResponse response;
        HandleConsole(request, *target.database.db, target.console, response);
        if (response.status != 200) state.SkipWithError(("status " + std::to_string(response.status)).c_str());
        benchmark::DoNotOptimize(response.body.data());
    }
}

}  // namespace

void RegisterBenchmarks() {
    const struct {
        const char* name;
        const char* path;
        std::vector<std::pair<std::string, std::string>> query;
    } pages[] = {{"overview", "/", {}},
                 {"locations", "/locations", {}},
                 {"assets", "/assets", {}},
                 {"assets search", "/assets", {{"q", "10.0.1"}}},
                 {"assets by os, page 20", "/assets", {{"os", "Ubuntu"}, {"page", "20"}, {"sort", "audit"}}},
                 {"asset", "/assets/17", {}},
                 {"applications", "/applications", {{"page", "3"}}},
                 {"application", "/applications/5", {}},
                 {"licences", "/licences", {}},
                 {"history", "/history", {}},
                 {"api assets", "/api/assets", {{"q", "PC-0"}}}};
    for (const int assets : {25, 5000})
        for (Engine engine : {Engine::Sqlite, Engine::PostgreSql})
            for (const auto& page : pages) {
                // The small site has fewer rows than the deep pages ask for.
                if (assets < 100 && std::string(page.name) == "assets by os, page 20") continue;
                const std::string name = std::string("console ") + page.name + "/" + std::to_string(assets) +
                                         " assets/" + EngineName(engine);
                benchmark::RegisterBenchmark(name.c_str(), Page, engine, assets, std::string(page.path), page.query)
                    ->Unit(benchmark::kMillisecond)
                    ->UseRealTime()
                    ->MinTime(0.2);
            }
}
