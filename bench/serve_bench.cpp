// norvik serve under load: 8 agents at once, each on one kept-alive connection, post the
// zlib-compressed 300-software inventories of distinct machines; inventories per second,
// latency (p50, p99) and the server's peak memory, beside `norvik import` of the same
// inventories as files in the same run, on SQLite and PostgreSQL ($NORVIK_TEST_PG_DSN).
// NORVIK_SERVE_BENCH_INVENTORIES sets how many (default 240), NORVIK_SERVE_BENCH_WORKERS the
// server's workers (default 8). Every inventory must be answered
// 200 and be one asset: nothing lost, nothing duplicated. Both start from a site that has seen
// one such machine (its applications are in the catalogue), untimed, as on a site in service.
#include <httplib.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "generated_inventory.h"
#include "kb/auditdbsys.h"
#include "server/compression.h"
#include "sql/norvik_sql.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kAgents = 8;
constexpr int kSoftware = 300;

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

ULong AssetsIn(const ScratchDatabase& scratch) {
    CAuditDBSys kb;
    CNorvikSql db(kb);
    if (!db.Open(scratch.ConnectionString().c_str(), nullptr, 0x4)) return 0;
    return db.CountAssets(0, 1, 0);
}

long PeakKilobytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6);
    return 0;
}

// `norvik import` of the inventories as files into a fresh database; inventories per second.
double ImportRate(Engine engine, const std::vector<std::string>& inventories, const std::filesystem::path& dir) {
    ScratchDatabase scratch(engine);
    const std::filesystem::path files = dir / "files";
    std::filesystem::create_directories(files);
    std::ofstream(dir / "seen.xml") << XmlInventory(kSoftware, 1);
    TimedRun({"--dsn", scratch.ConnectionString(), "import", (dir / "seen.xml").string()});
    for (std::size_t i = 0; i < inventories.size(); ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "pc-%05zu.xml", i);
        std::ofstream(files / name) << inventories[i];
    }
    const auto took = TimedRun({"--dsn", scratch.ConnectionString(), "import", files.string()});
    std::filesystem::remove_all(files);
    return static_cast<double>(inventories.size()) / Seconds(took);
}

void Run(Engine engine, const std::vector<std::string>& inventories) {
    ToolDir dir("norvik_serve_bench");
    const double importRate = ImportRate(engine, inventories, dir.path);

    ScratchDatabase scratch(engine);
    const std::string out = (dir.path / "serve.out").string();
    const pid_t server = StartTool({"--dsn", scratch.ConnectionString(), "serve", "--listen", "127.0.0.1:0",
                                    "--workers", std::to_string(kAgents), "--log", (dir.path / "access.log").string()},
                                   out);
    int port = 0;
    for (int i = 0; i < 1000 && port == 0; ++i) {
        const std::string text = Slurp(out);
        const std::size_t at = text.find("listening on http://127.0.0.1:");
        if (at != std::string::npos && text.find('\n', at) != std::string::npos)
            port = std::atoi(text.c_str() + at + 30);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (port == 0) {
        std::fprintf(stderr, "serve_bench: the server did not start: %s\n", Slurp(out).c_str());
        ::kill(server, SIGTERM);
        WaitTool(server);
        return;
    }
    std::vector<std::string> bodies;
    for (const std::string& text : inventories) bodies.push_back(Deflate(text, Compression::kZlib));

    {
        httplib::Client seen("127.0.0.1", port);
        seen.set_read_timeout(120, 0);
        seen.Post("/", XmlInventory(kSoftware, 1), "application/xml");
    }
    std::atomic<std::size_t> next{0};
    std::atomic<int> failed{0};
    std::vector<std::vector<double>> latencies(kAgents);
    const auto start = Clock::now();
    std::vector<std::thread> agents;
    for (int a = 0; a < kAgents; ++a)
        agents.emplace_back([&, a] {
            httplib::Client client("127.0.0.1", port);
            client.set_keep_alive(true);
            client.set_read_timeout(120, 0);
            for (std::size_t i = next++; i < bodies.size(); i = next++) {
                const auto sent = Clock::now();
                const auto reply = client.Post("/", bodies[i], "application/x-compress-zlib");
                latencies[a].push_back(Seconds(Clock::now() - sent) * 1000);
                if (!reply || reply->status != 200) ++failed;
            }
        });
    for (auto& agent : agents) agent.join();
    const double elapsed = Seconds(Clock::now() - start);
    const long peak = PeakKilobytes(server);
    ::kill(server, SIGTERM);
    const int code = WaitTool(server);

    std::vector<double> all;
    for (const auto& list : latencies) all.insert(all.end(), list.begin(), list.end());
    std::sort(all.begin(), all.end());
    const auto percentile = [&all](double p) {
        return all.empty() ? 0 : all[static_cast<std::size_t>(p * (all.size() - 1))];
    };
    const double rate = static_cast<double>(inventories.size()) / elapsed;
    const ULong assets = AssetsIn(scratch);
    std::printf("%-10s  %6zu  %9.1f  %9.1f  %5.2fx  %8.0f  %8.0f  %8ld  %6d  %6lu  %4d\n", EngineName(engine).c_str(),
                inventories.size(), importRate, rate, rate / importRate, percentile(0.5), percentile(0.99), peak / 1024,
                failed.load(), static_cast<unsigned long>(assets - 1), code);
    if (failed != 0 || assets != inventories.size() + 1)
        std::fprintf(stderr, "serve_bench: %d failed, %lu assets for %zu inventories\n", failed.load(),
                     static_cast<unsigned long>(assets), inventories.size());
}

}  // namespace

int main() {
    const char* count = std::getenv("NORVIK_SERVE_BENCH_INVENTORIES");
    const int inventories = count ? std::max(1, std::atoi(count)) : 240;
    std::vector<std::string> texts;
    for (int i = 0; i < inventories; ++i) texts.push_back(XmlInventory(kSoftware, 100000 + i));
    std::printf("%d agents, kept-alive connections, %d-software inventories (zlib)\n", kAgents, kSoftware);
    std::printf("%-10s  %6s  %9s  %9s  %6s  %8s  %8s  %8s  %6s  %6s  %4s\n", "engine", "count", "import/s", "serve/s",
                "ratio", "p50 ms", "p99 ms", "peak MB", "failed", "assets", "exit");
    std::vector<Engine> engines{Engine::Sqlite};
    if (std::getenv("NORVIK_TEST_PG_DSN")) engines.push_back(Engine::PostgreSql);
    for (const Engine engine : engines) Run(engine, texts);
    return 0;
}
