// The cost of a grown site. Builds a generated site (bench/generated_site.h) through the
// importer with several writers, growing it through each size asked for, and at each size times
// what grows with it: the import rate of one writer beside an empty site's, the tool's site and
// licence reports, the licence check, a large location's asset list, a publisher's applications,
// the site's application list, the console's pages, and the database's size per computer.
// Not a Google Benchmark: a site takes minutes to build and every figure is the median of
// NORVIK_SITE_RUNS runs (default 3) of the same work on the same site.
//   NORVIK_SITE_COMPUTERS     sizes the site grows through, e.g. "1000,5000" (default 20000)
//   NORVIK_SITE_PG_COMPUTERS  the same for PostgreSQL only (default: NORVIK_SITE_COMPUTERS)
//   NORVIK_SITE_ENGINES       "sqlite", "postgresql" or both (default: both when
//                             $NORVIK_TEST_PG_DSN is set, else SQLite)
//   NORVIK_SITE_WRITERS       concurrent writers while building (default 4)
//   NORVIK_SITE_PG_KEEP       a PostgreSQL database name: the grown site is kept there at the end,
//                             and a later run finds it there and grows it on (or only measures it)
//   NORVIK_SITE_SQLITE_KEEP   the same for SQLite: a file the grown site is copied to
// With --json FILE every figure is also written to FILE (rewritten after each size).
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "generated_site.h"
#include "import/import_transactions.h"
#include "import/inventory_import.h"
#include "server/console/console.h"
#include "site_builder.h"
#include "sql/sql_recordset.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

using Clock = std::chrono::steady_clock;

// New computers per batch of the import-rate probe, one batch per run.
constexpr int kProbeBatch = 30;

struct Options {
    std::vector<int> sqliteSizes;
    std::vector<int> postgresSizes;
    std::vector<Engine> engines;
    int writers = 4;
    int runs = 3;
    std::string json;
};

// One measured figure; `target` is empty when the figure has none.
struct Figure {
    std::string engine;
    int computers = 0;
    std::string name;
    double value = 0;
    std::string unit;
    std::string target;
    bool miss = false;
};

std::vector<int> Sizes(const char* text) {
    std::vector<int> sizes;
    std::stringstream list(text);
    for (std::string word; std::getline(list, word, ',');)
        if (const int size = std::atoi(word.c_str()); size > 0) sizes.push_back(size);
    std::sort(sizes.begin(), sizes.end());
    return sizes;
}

Options ReadOptions(int argc, char** argv) {
    Options options;
    const char* sizes = std::getenv("NORVIK_SITE_COMPUTERS");
    options.sqliteSizes = Sizes(sizes ? sizes : "20000");
    const char* pgSizes = std::getenv("NORVIK_SITE_PG_COMPUTERS");
    options.postgresSizes = pgSizes ? Sizes(pgSizes) : options.sqliteSizes;
    const char* engines = std::getenv("NORVIK_SITE_ENGINES");
    const std::string wanted = engines ? engines : std::getenv("NORVIK_TEST_PG_DSN") ? "sqlite,postgresql" : "sqlite";
    if (wanted.find("sqlite") != std::string::npos) options.engines.push_back(Engine::Sqlite);
    if (wanted.find("postgres") != std::string::npos) options.engines.push_back(Engine::PostgreSql);
    if (const char* writers = std::getenv("NORVIK_SITE_WRITERS")) options.writers = std::max(1, std::atoi(writers));
    if (const char* runs = std::getenv("NORVIK_SITE_RUNS")) options.runs = std::max(1, std::atoi(runs));
    for (int i = 1; i + 1 < argc; ++i)
        if (std::string(argv[i]) == "--json") options.json = argv[i + 1];
    return options;
}

double Milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

// The median wall time of `runs` calls of `work`, in ms; a call that answers false makes the
// figure -1.
double MedianMs(int runs, const std::function<bool()>& work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = Clock::now();
        if (!work()) return -1;
        times.push_back(Milliseconds(Clock::now() - start));
    }
    return Median(times);
}

std::string JsonText(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

class Figures {
public:
    explicit Figures(std::string json) : m_json(std::move(json)) {}

    void Add(Figure figure) { m_all.push_back(std::move(figure)); }

    // Prints the figures of one engine and size as a table, marking the missed targets, and
    // rewrites the JSON file with every figure so far.
    void Flush(const std::string& engine, int computers) const {
        std::printf("\n%s, %d computers\n", engine.c_str(), computers);
        std::printf("%-52s %12s %-6s %-10s\n", "figure", "value", "unit", "target");
        for (const Figure& f : m_all)
            if (f.engine == engine && f.computers == computers)
                std::printf("%-52s %12.1f %-6s %-10s%s\n", f.name.c_str(), f.value, f.unit.c_str(), f.target.c_str(),
                            f.miss ? "  MISS" : "");
        std::fflush(stdout);
        if (m_json.empty()) return;
        std::ofstream out(m_json);
        out << "[\n";
        for (std::size_t i = 0; i < m_all.size(); ++i) {
            const Figure& f = m_all[i];
            out << "  {\"engine\": " << JsonText(f.engine) << ", \"computers\": " << f.computers
                << ", \"figure\": " << JsonText(f.name) << ", \"value\": " << f.value
                << ", \"unit\": " << JsonText(f.unit) << ", \"target\": " << JsonText(f.target)
                << ", \"miss\": " << (f.miss ? "true" : "false") << "}" << (i + 1 < m_all.size() ? ",\n" : "\n");
        }
        out << "]\n";
    }

private:
    std::string m_json;
    std::vector<Figure> m_all;
};

// Imports with one writer: the first audit of kProbeBatch new computers, then their second,
// `runs` times; the median rates (inventories/s) of the two. The probe's computers sit at the
// top of the rooms' ranges, where the site's own never reach, and are deleted afterwards
// (`deleteMs`: the median time of one delete) so that the site keeps its size.
struct ProbeRates {
    double first = 0;
    double again = 0;
    double deleteMs = 0;
};

ProbeRates ProbeImports(const GeneratedSite& site, const std::string& connect, int runs, int& serial) {
    CAuditDBSys kb;
    CNorvikSql db(kb);
    if (!db.Open(connect.c_str(), nullptr, 0x4)) throw std::runtime_error("site_bench: cannot open the database");
    SqlImportTransactions transactions(db);
    CInventoryImporter importer(db, transactions);
    std::vector<double> first, again, deletes;
    std::vector<ULong> assets;
    for (int run = 0; run < runs; ++run) {
        std::vector<int> computers, numbers;
        for (int i = 0; i < kProbeBatch; ++i) {
            computers.push_back(site.Capacity() - 1 - (serial % (site.Capacity() / 2)));
            numbers.push_back(1000000 + serial++);
        }
        for (const int audit : {0, 1}) {
            std::vector<std::string> texts;
            for (int i = 0; i < kProbeBatch; ++i) texts.push_back(site.Inventory(computers[i], audit, numbers[i]));
            const auto start = Clock::now();
            for (const std::string& text : texts) {
                const InventoryImportResult result = importer.Import("probe", text);
                if (result.status != InventoryImportStatus::kImported)
                    throw std::runtime_error("site_bench: a probe import failed: " + result.error);
                if (audit == 0) assets.push_back(result.outcome.asset);
            }
            const double rate = kProbeBatch / std::chrono::duration<double>(Clock::now() - start).count();
            (audit == 0 ? first : again).push_back(rate);
        }
    }
    for (const ULong asset : assets) {
        const auto start = Clock::now();
        if (!db.assetDelete(asset)) throw std::runtime_error("site_bench: a probe asset cannot be deleted");
        deletes.push_back(Milliseconds(Clock::now() - start));
    }
    return {Median(first), Median(again), Median(deletes)};
}

double FileBytes(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? static_cast<double>(info.st_size) : 0;
}

// SQLite: the log's size in bytes, then the log written back into the database and emptied.
// With writers always at work some connection always reads, so SQLite's own checkpoints never
// get to empty the log and it grows without end (and every read slows with it); a site gets
// this only when its load pauses, the bench between rounds of audits.
double Checkpoint(CNorvikSql& db, const std::string& connect) {
    const double bytes = FileBytes(DatabaseOf(connect) + "-wal");
    CSqlRecordset rs(&db, "pragma wal_checkpoint(TRUNCATE)");
    return bytes;
}

// The database's size in bytes: PostgreSQL's own figure, or SQLite's file once its log (up to
// 32 MB of pages already in the file or about to be) is copied in and emptied.
double DatabaseBytes(CNorvikSql& db, const std::string& connect) {
    if (connect.find("SQLite") == std::string::npos) {
        CSqlRecordset rs(&db, "select pg_database_size(current_database())");
        return rs.IsEOF() ? 0 : std::atof(rs.TextAt(0).c_str());
    }
    Checkpoint(db, connect);
    const std::string file = DatabaseOf(connect);
    return FileBytes(file) + FileBytes(file + "-wal");
}

// Runs the norvik tool on the database; false (with what it said) when it failed.
bool Tool(const std::string& connect, std::vector<std::string> args) {
    args.insert(args.begin(), {"--dsn", connect});
    const int code = WaitTool(StartTool(args, "/dev/null"));
    if (code != 0) {
        ToolDir dir("norvik_site_bench");
        const ToolResult result = RunTool(dir.path, args);
        std::fprintf(stderr, "site_bench: norvik %s failed (%d): %s\n", args[2].c_str(), result.exitCode,
                     result.err.c_str());
    }
    return code == 0;
}

bool Page(CNorvikSql& db, ConsoleState& console, const std::string& path,
          std::vector<std::pair<std::string, std::string>> query) {
    HttpRequest request;
    request.method = "GET";
    request.path = path;
    request.query = std::move(query);
    HttpResponse response;
    HandleConsole(request, db, console, response);
    if (response.status != 200)
        std::fprintf(stderr, "site_bench: %s answered %d\n", path.c_str(), static_cast<int>(response.status));
    return response.status == 200;
}

class SiteRun {
public:
    SiteRun(Engine engine, const Options& options, Figures& figures)
        : m_engine(engine), m_name(EngineName(engine)), m_options(options), m_figures(figures) {}

    void Run(const std::vector<int>& sizes) {
        const ProbeRates empty = EmptySiteRates();
        ScratchDatabase scratch(m_engine);
        const char* keep =
            std::getenv(m_engine == Engine::PostgreSql ? "NORVIK_SITE_PG_KEEP" : "NORVIK_SITE_SQLITE_KEEP");
        const bool reuse = keep && KeptSiteExists(keep);
        const std::string connect = reuse ? KeptSiteConnection(keep) : scratch.ConnectionString();
        CAuditDBSys kb;
        CNorvikSql db(kb);
        if (!db.Open(connect.c_str(), nullptr, 0x4))
            throw std::runtime_error("site_bench: cannot open the site's database");
        auto builder = std::make_unique<SiteBuilder>(m_site, connect, m_options.writers);
        int built = 0;
        if (reuse)
            built = SiteComputers(db);
        else
            builder->Prepare(db);
        for (const int size : sizes) {
            if (size > m_site.Capacity()) {
                std::fprintf(stderr, "site_bench: %d computers do not fit the site's rooms (%d)\n", size,
                             m_site.Capacity());
                break;
            }
            if (size > built) Grow(*builder, db, scratch, built, size);
            built = size;
            Measure(db, connect, size, empty);
            m_figures.Flush(m_name, size);
        }
        db.Close();
        builder.reset();  // its writers' connections too: a database being copied has none
        if (keep && !reuse) KeepSite(scratch, keep);
    }

private:
    void Add(int computers, const std::string& name, double value, const std::string& unit,
             const std::string& target = "", bool miss = false) {
        m_figures.Add({m_name, computers, name, value, unit, target, miss});
    }

    // A timed figure in ms with a ceiling (0: none).
    void AddMs(int computers, const std::string& name, double ms, double ceiling) {
        const std::string target = ceiling > 0 ? "<= " + std::to_string(static_cast<int>(ceiling)) : "";
        Add(computers, name, ms, "ms", target, ms < 0 || (ceiling > 0 && ms > ceiling));
    }

    ProbeRates EmptySiteRates() {
        ScratchDatabase scratch(m_engine);
        {
            CAuditDBSys kb;
            CNorvikSql db(kb);
            db.Open(scratch.ConnectionString().c_str(), nullptr, 0x4);
            SiteBuilder(m_site, scratch.ConnectionString(), 0).Prepare(db);
        }
        return ProbeImports(m_site, scratch.ConnectionString(), m_options.runs, m_serial);
    }

    // Grows the site from `from` to `to` computers and adds the build's figures.
    void Grow(SiteBuilder& builder, CNorvikSql& db, const ScratchDatabase& scratch, int from, int size) {
        double largestLog = 0;
        const SiteGrowth growth = builder.Grow(from, size, [&] {
            if (m_engine == Engine::Sqlite)
                largestLog = std::max(largestLog, Checkpoint(db, scratch.ConnectionString()));
        });
        if (growth.failures > 0)
            std::fprintf(stderr, "site_bench: %ld of %ld imports failed, first: %s\n", growth.failures, growth.imports,
                         growth.firstError.c_str());
        builder.SetLicences(db, size);
        m_buildSeconds += growth.seconds;
        m_buildImports += growth.imports;
        Add(size,
            "build: " + GroupedNumber(static_cast<ULong>(m_buildImports)) + " imports, " +
                std::to_string(m_options.writers) + " writers (whole site so far)",
            m_buildSeconds, "s");
        Add(size, "build rate, this step", growth.imports / growth.seconds, "inv/s");
        if (m_engine == Engine::Sqlite)
            Add(size, "build: largest SQLite log (WAL) of a round, then checkpointed", largestLog / 1048576, "MB");
        if (growth.failures > 0)
            Add(size, "build: failed imports", static_cast<double>(growth.failures), "", "0", true);
        if (m_engine == Engine::PostgreSql) {
            // What autovacuum does over the next minutes on a site; measured at once instead.
            const auto start = Clock::now();
            db.ExecuteStatement("vacuum (analyze)");
            Add(size, "vacuum and analyze after the build", Milliseconds(Clock::now() - start) / 1000, "s");
        }
    }

    // A kept site: a database of that name on the PostgreSQL test server, or a SQLite file.
    bool KeptSiteExists(const std::string& name) const {
        struct stat st;
        if (m_engine == Engine::Sqlite) return ::stat(name.c_str(), &st) == 0;
        CSqlDatabase admin;
        admin.OpenEx(PostgresAdminConnection().c_str(), CDatabase::noOdbcDialog);
        CSqlRecordset rs(&admin, ("select 1 from pg_database where datname = '" + name + "'").c_str());
        return !rs.IsEOF();
    }

    // The generated computers a kept site holds (the probe's are deleted after each probe).
    static int SiteComputers(CNorvikSql& db) {
        CSqlRecordset rs(&db, "select count(*) from ASSET where _NAME like 'PC-%'");
        return rs.IsEOF() ? 0 : static_cast<int>(rs.NumberAt(0));
    }

    std::string KeptSiteConnection(const std::string& name) const {
        if (m_engine == Engine::PostgreSql) return PostgresConnection(name);
        return SqliteConnection(name);
    }

    void KeepSite(const ScratchDatabase& scratch, const std::string& name) const {
        const std::string source = DatabaseOf(scratch.ConnectionString());
        if (m_engine == Engine::Sqlite) {
            // The writers are gone and the log was checkpointed: the file alone is the site.
            std::ifstream in(source, std::ios::binary);
            std::ofstream out(name, std::ios::binary);
            out << in.rdbuf();
            std::printf("site kept in SQLite file %s\n", name.c_str());
            return;
        }
        CSqlDatabase admin;
        admin.OpenEx(PostgresAdminConnection().c_str(), CDatabase::noOdbcDialog);
        admin.ExecuteStatement(("create database " + name + " template " + source).c_str());
        std::printf("site kept in PostgreSQL database %s\n", name.c_str());
    }

    void Measure(CNorvikSql& db, const std::string& connect, int size, const ProbeRates& empty) {
        const int runs = m_options.runs;
        const ProbeRates grown = ProbeImports(m_site, connect, runs, m_serial);
        Add(size, "import new computer, 1 writer, empty site", empty.first, "inv/s");
        Add(size, "import new computer, 1 writer, this site", grown.first, "inv/s");
        const double firstRatio = 100 * grown.first / empty.first;
        Add(size, "  ratio to the empty site", firstRatio, "%", ">= 80", firstRatio < 80);
        Add(size, "re-audit with changes, 1 writer, empty site", empty.again, "inv/s");
        Add(size, "re-audit with changes, 1 writer, this site", grown.again, "inv/s");
        const double againRatio = 100 * grown.again / empty.again;
        Add(size, "  ratio to the empty site", againRatio, "%", ">= 80", againRatio < 80);
        AddMs(size, "asset delete (one computer)", grown.deleteMs, 0);

        AddMs(size, "norvik report", MedianMs(runs, [&] { return Tool(connect, {"report"}); }), 2000);
        AddMs(size, "norvik licence report",
              MedianMs(runs,
                       [&] {
                           return Tool(connect, {"licence", "report"});
                       }),
              2000);
        AddMs(size, "norvik licence check", MedianMs(runs, [&] { return Tool(connect, {"licence", "check"}); }), 2000);
        const std::string subtree = m_site.RoomLevels(0)[0];
        AddMs(size, "norvik asset list --location '" + subtree + "' --recursive",
              MedianMs(runs,
                       [&] {
                           return Tool(connect, {"asset", "list", "--location", subtree, "--recursive"});
                       }),
              0);
        const std::string publisher = m_site.AppPublisher(0);
        AddMs(size, "norvik app list --publisher '" + publisher + "'",
              MedianMs(runs,
                       [&] {
                           return Tool(connect, {"app", "list", "--publisher", publisher});
                       }),
              0);
        AddMs(size, "EnumGlobalSwApplications, whole site",
              MedianMs(runs,
                       [&] {
                           CSortList list;
                           return db.EnumGlobalSwApplications(0, list, 0, 1, 0, 0, nullptr, 0) > 0;
                       }),
              0);

        ConsoleState console;
        const ULong asset = db.FindAsset(("PC-" + std::to_string(size / 2)).c_str(), 0, 0);
        ULong app = 0;
        for (CSqlRecordset rs(&db, ("select _ID from APPS where _APP = '" + m_site.AppName(0) + "'").c_str());
             !rs.IsEOF(); rs.MoveNext())
            app = rs.NumberAt(0);
        const std::string middlePage = std::to_string(std::max(1, size / 2 / 50));
        const struct {
            std::string name;
            std::string path;
            std::vector<std::pair<std::string, std::string>> query;
            double ceiling;
        } pages[] = {
            {"console overview", "/", {}, 300},
            {"console locations", "/locations", {}, 300},
            {"console assets, page 1", "/assets", {}, 300},
            {"console asset search (name)", "/assets", {{"q", "PC-123"}}, 200},
            {"console asset search (address)", "/assets", {{"q", "10.2.17."}}, 200},
            {"console asset page", "/assets/" + std::to_string(asset), {}, 300},
            {"console applications, page 1", "/applications", {}, 300},
            {"console application on every computer, page 1", "/applications/" + std::to_string(app), {}, 300},
            {"console application on every computer, page " + middlePage,
             "/applications/" + std::to_string(app),
             {{"page", middlePage}},
             300},
            {"console licences", "/licences", {}, 300},
            {"console history", "/history", {}, 300},
        };
        for (const auto& page : pages) {
            Page(db, console, page.path, page.query);  // warm, as a page asked for twice
            AddMs(size, page.name, MedianMs(runs, [&] { return Page(db, console, page.path, page.query); }),
                  page.ceiling);
        }
        const double bytes = DatabaseBytes(db, connect);
        Add(size, "database size", bytes / 1048576, "MB");
        Add(size, "database size per computer", bytes / 1024 / size, "KB");
    }

    const Engine m_engine;
    const std::string m_name;
    const Options& m_options;
    Figures& m_figures;
    const GeneratedSite m_site;
    int m_serial = 0;  // the probe's machines, distinct across the run
    double m_buildSeconds = 0;
    long m_buildImports = 0;
};

}  // namespace

int main(int argc, char** argv) {
    const Options options = ReadOptions(argc, argv);
    Figures figures(options.json);
    std::printf("site growth: %d writers while building, medians of %d runs\n", options.writers, options.runs);
    try {
        for (const Engine engine : options.engines)
            SiteRun(engine, options, figures)
                .Run(engine == Engine::Sqlite ? options.sqliteSizes : options.postgresSizes);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
