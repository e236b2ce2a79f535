// norvik serve as a site runs it: the real agent against it, the limits refused at the socket,
// an unreachable database, SIGTERM and SIGKILL, TLS and agents' log-on; on both engines.
#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "server/agent_fixture.h"
#include "server/compression.h"
#include "server/serve_process.h"
#include "support/db_tool_test.h"

namespace {

using namespace std::chrono_literals;

// Runs the real agent against `url` (extra words after it); its exit code. The categories that
// change between two runs on a live machine (free disk space, processes, logged-on users) are
// left out, so that a second run of an unchanged machine is seen as unchanged.
int RunAgent(const std::string& url, const std::vector<std::string>& extra = {}) {
    std::string command = "fusioninventory-agent --server '" + url +
                          "' --tasks inventory --force --no-category printer,process,environment,user,drive "
                          "--logger stderr";
    for (const std::string& word : extra) command += " '" + word + "'";
    return std::system((command + " >/dev/null 2>&1").c_str());
}

int Connect(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Reads until the peer closes or `limit` passes; what arrived.
std::string ReadUntilClosed(int fd, std::chrono::seconds limit) {
    timeval timeout{static_cast<time_t>(limit.count()), 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    return text;
}

// The workstation fixture as machine `n`: its own name, serial, UUID and MAC addresses.
std::string MachineInventory(int n) {
    std::string text = ReadFixture("inventories/workstation.xml");
    const auto replace = [&text](const std::string& from, const std::string& to) {
        for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
            text.replace(at, from.size(), to);
    };
    char mac[32], uuid[64];
    replace("WS-ALPHA", "BURST-" + std::to_string(n));
    replace("CZC1234XYZ", "SN-" + std::to_string(n));
    std::snprintf(uuid, sizeof uuid, "4c4c4544-0034-3010-8048-%012x", n);
    replace("4c4c4544-0034-3010-8048-b6c04f503732", uuid);
    std::snprintf(mac, sizeof mac, "00:21:5c:aa:%02x:%02x", (n >> 8) & 0xFF, n & 0xFF);
    replace("00:21:5c:aa:bb:01", mac);
    std::snprintf(mac, sizeof mac, "00:1e:4f:12:%02x:%02x", (n >> 8) & 0xFF, n & 0xFF);
    replace("00:1e:4f:12:34:56", mac);
    return text;
}

class Serve : public DbTool {
protected:
    ULong Assets() { return Db().CountAssets(0, 1, 0); }
    std::vector<std::string> ServeArgs(std::vector<std::string> extra = {}) {
        std::vector<std::string> args = On({"serve"});
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    }
};

TEST_P(Serve, RealAgentMakesOneAssetAndASecondRunChangesNothing) {
    ServerProcess server(dir_.path, ServeArgs({"--workers", "2"}));
    ASSERT_EQ(RunAgent(server.url), 0);
    EXPECT_EQ(Assets(), 1u);
    ASSERT_EQ(RunAgent(server.url), 0);
    EXPECT_EQ(Assets(), 1u);
    const std::string log = server.Log();
    EXPECT_NE(log.find("outcome=\"prolog\""), std::string::npos) << log;
    const std::size_t first = log.find("outcome=\"new\"");
    ASSERT_NE(first, std::string::npos) << log;
    EXPECT_NE(log.find("outcome=\"unchanged\"", first), std::string::npos) << log;
    EXPECT_NE(log.find("agent=\"FusionInventory-Agent_v2.6"), std::string::npos) << log;
}

TEST_P(Serve, OversizedSlowAndSurplusClientsAreRefused) {
    ServerProcess server(dir_.path, ServeArgs({"--workers", "1", "--max-connections", "2", "--max-body", "100000",
                                               "--read-timeout", "2"}));
    httplib::Client client("127.0.0.1", server.port);
    const auto large = client.Post("/", std::string(100001, '<'), "application/xml");
    ASSERT_TRUE(large);
    EXPECT_EQ(large->status, 413);
    EXPECT_EQ(large->body, "the body is larger than 100000 bytes\n");
    // A zlib bomb: a few hundred bytes that inflate past the inflated limit (4 × the body limit).
    const auto bomb =
        client.Post("/", Deflate(std::string(400001, '<'), Compression::kZlib), "application/x-compress-zlib");
    ASSERT_TRUE(bomb);
    EXPECT_EQ(bomb->status, 413);
    // The same bomb as a Content-Encoding, which the HTTP library would inflate whole.
    const std::string gzipBomb = Deflate(std::string(50u << 20, '<'), Compression::kGzip);
    const auto encoded = client.Post("/", httplib::Headers{{"Content-Encoding", "gzip"}}, gzipBomb, "application/xml");
    ASSERT_TRUE(encoded);
    EXPECT_EQ(encoded->status, 415);
    client.stop();

    // A client that stops sending half-way through its request is dropped (within the
    // keep-alive wait of 5 seconds and the read timeout).
    const int slow = Connect(server.port);
    ASSERT_GE(slow, 0);
    ASSERT_GT(::write(slow, "POST / HTTP/1.1\r\nHost: x\r\n", 26), 0);
    const auto start = std::chrono::steady_clock::now();
    ReadUntilClosed(slow, 20s);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
    ::close(slow);

    // One connection served, one waiting: a third is refused at once. (A server of its own, whose
    // read timeout outlasts the test however loaded the machine is.)
    ServerProcess patient(dir_.path, ServeArgs({"--workers", "1", "--max-connections", "2", "--read-timeout", "60"}));
    const int served = Connect(patient.port), waiting = Connect(patient.port);
    std::this_thread::sleep_for(500ms);
    const int surplus = Connect(patient.port);
    ASSERT_GE(surplus, 0);
    const std::string request = "GET /health HTTP/1.1\r\nHost: x\r\n\r\n";
    ASSERT_GT(::write(surplus, request.data(), request.size()), 0);
    const std::string answer = ReadUntilClosed(surplus, 5s);
    EXPECT_EQ(answer.rfind("HTTP/1.1 503", 0), 0u) << answer;
    EXPECT_NE(answer.find("Retry-After: 300"), std::string::npos) << answer;
    for (const int fd : {served, waiting, surplus}) ::close(fd);
    EXPECT_EQ(Assets(), 0u);
}

TEST_P(Serve, UnreachableDatabaseGets503WithRetryAfter) {
    ToolDir other("norvik_serve_down");
    std::vector<std::string> args;
    if (GetParam() == Engine::Sqlite)
        args = {"--db", WriteFile(other.path / "audit.db", std::string(4096, 'x')), "serve"};
    else
        args = {"--dsn", "Driver={PostgreSQL ANSI};Server=127.0.0.1;Port=1;Database=audit;Uid=norvik;Pwd=x;", "serve"};
    ServerProcess server(other.path, args);
    httplib::Client client("127.0.0.1", server.port);
    const auto health = client.Get("/health");
    ASSERT_TRUE(health);
    EXPECT_EQ(health->status, 503);
    EXPECT_EQ(health->get_header_value("Retry-After"), "300");
    const auto post = client.Post("/", ReadFixture("inventories/workstation.xml"), "application/xml");
    ASSERT_TRUE(post);
    EXPECT_EQ(post->status, 503);
    EXPECT_EQ(post->get_header_value("Retry-After"), "300");
    EXPECT_EQ(post->body, "the audit database does not answer\n");
}

TEST_P(Serve, SigtermFinishesTheRequestInFlightAndExitsZero) {
    ServerProcess server(dir_.path, ServeArgs());
    const std::string body = ReadFixture("inventories/workstation.xml");
    const int fd = Connect(server.port);
    ASSERT_GE(fd, 0);
    const std::string request = "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: application/xml\r\nContent-Length: " +
                                std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
    ASSERT_EQ(::write(fd, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    std::this_thread::sleep_for(20ms);
    ::kill(server.Pid(), SIGTERM);
    const std::string answer = ReadUntilClosed(fd, 20s);
    ::close(fd);
    EXPECT_EQ(answer.rfind("HTTP/1.1 200", 0), 0u) << answer;
    EXPECT_EQ(server.Signal(0), 0);
    EXPECT_EQ(Assets(), 1u);
    EXPECT_EQ(Connect(server.port), -1) << "no longer accepting";
}

TEST_P(Serve, EveryInventoryAcknowledgedBeforeSigkillIsInTheDatabase) {
    ServerProcess server(dir_.path, ServeArgs({"--workers", "4"}));
    std::atomic<int> next{0};
    std::vector<std::vector<int>> acknowledged(4);
    std::vector<std::thread> agents;
    for (int a = 0; a < 4; ++a)
        agents.emplace_back([&, a] {
            httplib::Client client("127.0.0.1", server.port);
            client.set_read_timeout(30, 0);
            for (;;) {
                const int n = next++;
                const auto reply =
                    client.Post("/", Deflate(MachineInventory(n), Compression::kZlib), "application/x-compress-zlib");
                if (!reply) return;
                if (reply->status == 200) acknowledged[a].push_back(n);
            }
        });
    std::this_thread::sleep_for(3s);
    server.Signal(SIGKILL);
    for (auto& agent : agents) agent.join();
    std::size_t total = 0;
    for (const auto& list : acknowledged) {
        total += list.size();
        for (const int n : list)
            EXPECT_NE(Db().FindAsset(("BURST-" + std::to_string(n)).c_str(), 0, 0), 0u) << "BURST-" << n;
    }
    EXPECT_GT(total, 0u);
    EXPECT_GE(Assets(), total);
    EXPECT_LE(Assets(), total + 4) << "at most one unacknowledged inventory per agent";
}

// Two servers on one database, eight agents posting to both: each machine reports once to one
// server, then again to the other. Every machine is one asset, whichever server saw it first.
TEST_P(Serve, TwoServersOnOneDatabaseLoseAndDuplicateNothing) {
    ServerProcess first(dir_.path, ServeArgs({"--workers", "4"}));
    ServerProcess second(dir_.path, ServeArgs({"--workers", "4"}));
    constexpr int kMachines = 40;
    std::atomic<int> next{0}, failures{0};
    std::vector<std::thread> agents;
    for (int a = 0; a < 8; ++a)
        agents.emplace_back([&] {
            httplib::Client clients[] = {httplib::Client("127.0.0.1", first.port),
                                         httplib::Client("127.0.0.1", second.port)};
            for (auto& client : clients) client.set_read_timeout(60, 0);
            for (int n; (n = next++) < 2 * kMachines;) {
                const int machine = n % kMachines;
                httplib::Client& client = clients[(machine + n / kMachines) % 2];
                // A busy database answers 503, and the agent comes back (here at once, a few times).
                int status = 0;
                for (int attempt = 0; attempt < 5 && (status == 0 || status == 503); ++attempt) {
                    if (attempt) std::this_thread::sleep_for(100ms);
                    const auto reply = client.Post("/", MachineInventory(machine), "application/xml");
                    status = reply ? reply->status : -1;
                }
                if (status != 200) ++failures;
            }
        });
    for (auto& agent : agents) agent.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(Assets(), static_cast<ULong>(kMachines));
    for (int machine = 0; machine < kMachines; ++machine)
        EXPECT_NE(Db().FindAsset(("BURST-" + std::to_string(machine)).c_str(), 0, 0), 0u) << machine;
    for (const ServerProcess* server : {&first, &second}) {
        const std::string log = server->Log();
        EXPECT_NE(log.find("outcome=\"new\""), std::string::npos) << log;
        EXPECT_EQ(log.find("outcome=\"failed"), std::string::npos) << log;
    }
}

TEST_P(Serve, AgentOverTlsLogsOnAndAWrongPasswordWritesNothing) {
    const std::string cert = (dir_.path / "cert.pem").string(), key = (dir_.path / "key.pem").string();
    const std::string openssl =
        "openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj /CN=127.0.0.1 "
        "-addext subjectAltName=IP:127.0.0.1 -keyout '" +
        key + "' -out '" + cert + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(openssl.c_str()), 0);
    const ToolResult set = RunToolWithInput(dir_.path, On({"agent-password"}), "s3cret\n");
    ASSERT_EQ(set.exitCode, 0) << set.err;
    ServerProcess server(dir_.path, ServeArgs({"--tls-cert", cert, "--tls-key", key, "--agent-user", "agent"}));
    ASSERT_EQ(server.url.rfind("https://127.0.0.1:", 0), 0u) << server.url;

    RunAgent(server.url, {"--ca-cert-file", cert, "--user", "agent", "--password", "wrong"});
    EXPECT_EQ(Assets(), 0u);
    EXPECT_NE(server.Log().find(" 401 "), std::string::npos) << server.Log();
    ASSERT_EQ(RunAgent(server.url, {"--ca-cert-file", cert, "--user", "agent", "--password", "s3cret"}), 0);
    EXPECT_EQ(Assets(), 1u);
}

TEST_P(Serve, WrongCommandLinesAreRefused) {
    const ToolResult help = Run({"serve", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind("usage: norvik [--db FILE | --dsn CONNECTION] serve [--listen HOST:PORT]", 0), 0u);
    ExpectRefused(Run({"serve", "extra"}), 2, "wrong number of arguments");
    ExpectRefused(RunToolWithInput(dir_.path, On({"agent-password"}), ""), 1, "no password was given");
    ExpectRefused(RunToolWithInput(dir_.path, On({"agent-password"}), "\n"), 1, "the password is empty");
    ExpectRefused(Run({"serve", "--listen", "nowhere"}), 2, "--listen: not HOST:PORT: nowhere");
    ExpectRefused(Run({"serve", "--workers", "0"}), 2, "--workers needs a number from 1 to 256: 0");
    ExpectRefused(Run({"serve", "--tls-cert", "x.pem"}), 2, "--tls-cert and --tls-key go together");
    ExpectRefused(Run({"serve", "--agent-user", "agent", "--listen", "127.0.0.1:0"}), 1,
                  "no agent password is set (set one with: norvik agent-password)");
    const std::string missing = (dir_.path / "missing.db").string();
    ExpectRefused(RunTool(dir_.path, {"--db", missing, "serve", "--listen", "127.0.0.1:0"}), 1,
                  "no audit database at " + missing);
    EXPECT_FALSE(std::filesystem::exists(missing));
}

NORVIK_ON_BOTH_ENGINES(Serve);

}  // namespace
