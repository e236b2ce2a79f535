// Two `norvik serve` processes on one PostgreSQL database ($NORVIK_TEST_PG_DSN) against one: 16
// agents on kept-alive connections post the zlib-compressed 300-software inventories of 500
// distinct machines, then 100 of them again, each to the server it did not reach the first time.
// Inventories per second for one server and for two, the ratio, and the checks that matter more:
// every post answered 200, one asset per machine. NORVIK_TWO_SERVERS_MACHINES sets the machines,
// NORVIK_TWO_SERVERS_WORKERS the workers of each server (default 8).
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "generated_inventory.h"
#include "kb/auditdbsys.h"
#include "server/compression.h"
#include "server/serve_process.h"
#include "sql/norvik_sql.h"
#include "support/scratch_database.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kAgents = 16;
constexpr int kSoftware = 300;
int g_workersPerServer = 8;  // NORVIK_TWO_SERVERS_WORKERS

ULong AssetsIn(const ScratchDatabase& scratch) {
    CAuditDBSys kb;
    CNorvikSql db(kb);
    if (!db.Open(scratch.ConnectionString().c_str(), nullptr, 0x4)) return 0;
    return db.CountAssets(0, 1, 0);
}

struct Post {
    const std::string* body;
    int server;  // index into the ports
};

// Every post by kAgents agents, as a load balancer spreads them: each agent keeps one connection
// to one server (an idle kept-alive connection holds a worker) and sends that server's posts.
double PostAll(const std::vector<Post>& posts, const std::vector<int>& ports, std::atomic<int>& failed) {
    std::vector<std::vector<const Post*>> queues(ports.size());
    for (const Post& post : posts) queues[static_cast<std::size_t>(post.server) % ports.size()].push_back(&post);
    std::vector<std::atomic<std::size_t>> next(ports.size());
    const auto start = Clock::now();
    std::vector<std::thread> agents;
    for (int a = 0; a < kAgents; ++a)
        agents.emplace_back([&, a] {
            const std::size_t server = static_cast<std::size_t>(a) % ports.size();
            httplib::Client client("127.0.0.1", ports[server]);
            client.set_keep_alive(true);
            client.set_read_timeout(120, 0);
            const auto& queue = queues[server];
            for (std::size_t i = next[server]++; i < queue.size(); i = next[server]++) {
                const auto reply = client.Post("/", *queue[i]->body, "application/x-compress-zlib");
                if (!reply || reply->status != 200) ++failed;
            }
        });
    for (auto& agent : agents) agent.join();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Inventories per second through `servers` servers; prints the line and says whether nothing was
// lost or duplicated.
double Run(int servers, const std::vector<std::string>& bodies, int again) {
    ToolDir dir("norvik_two_servers_bench");
    ScratchDatabase scratch(Engine::PostgreSql);
    std::vector<std::unique_ptr<ServerProcess>> processes;
    std::vector<int> ports;
    for (int s = 0; s < servers; ++s) {
        processes.push_back(std::make_unique<ServerProcess>(
            dir.path, std::vector<std::string>{"--dsn", scratch.ConnectionString(), "serve", "--workers",
                                               std::to_string(g_workersPerServer)}));
        ports.push_back(processes.back()->port);
    }
    // The site has seen one such machine: its applications are in the catalogue.
    const std::string seen = Deflate(XmlInventory(kSoftware, 1), Compression::kZlib);
    std::atomic<int> failed{0};
    PostAll({{&seen, 0}}, ports, failed);
    std::vector<Post> posts;
    for (std::size_t i = 0; i < bodies.size(); ++i) posts.push_back({&bodies[i], static_cast<int>(i)});
    for (int i = 0; i < again; ++i) posts.push_back({&bodies[static_cast<std::size_t>(i)], i + 1});
    const double seconds = PostAll(posts, ports, failed);
    processes.clear();
    const ULong assets = AssetsIn(scratch);
    const double rate = static_cast<double>(posts.size()) / seconds;
    std::printf("%-8d  %6zu  %9.1f  %6d  %6lu\n", servers, posts.size(), rate, failed.load(),
                static_cast<unsigned long>(assets - 1));
    if (failed != 0 || assets != bodies.size() + 1)
        std::fprintf(stderr, "two_servers_bench: %d failed, %lu assets for %zu machines\n", failed.load(),
                     static_cast<unsigned long>(assets - 1), bodies.size());
    return rate;
}

}  // namespace

int main() {
    if (!std::getenv("NORVIK_TEST_PG_DSN")) {
        std::fprintf(stderr, "two_servers_bench: NORVIK_TEST_PG_DSN names no PostgreSQL server\n");
        return 1;
    }
    const char* count = std::getenv("NORVIK_TWO_SERVERS_MACHINES");
    const int machines = count ? std::max(1, std::atoi(count)) : 500;
    const int again = std::max(1, machines / 5);
    if (const char* workers = std::getenv("NORVIK_TWO_SERVERS_WORKERS"))
        g_workersPerServer = std::max(1, std::atoi(workers));
    std::vector<std::string> bodies;
    for (int i = 0; i < machines; ++i)
        bodies.push_back(Deflate(XmlInventory(kSoftware, 200000 + i), Compression::kZlib));
    std::printf("%d agents, %d workers a server, %d machines then %d again (PostgreSQL)\n", kAgents, g_workersPerServer,
                machines, again);
    std::printf("%-8s  %6s  %9s  %6s  %6s\n", "servers", "posts", "posts/s", "failed", "assets");
    const double one = Run(1, bodies, again);
    const double two = Run(2, bodies, again);
    std::printf("two servers / one: %.2fx\n", one > 0 ? two / one : 0.0);
    return 0;
}
