// The edge, built on cpp-httplib. Chosen by measurement on this machine (keep-alive hello
// server, wrk -t2 -c8, loopback): cpp-httplib 15,500 requests/s at 8 MB peak memory, civetweb
// 15,800 at 2 MB, a bare Boost.Beast loop 49,000 at 3 MB. An inventory import costs
// milliseconds, so all three are far from being the bound; cpp-httplib brings the limits the
// server needs (body size with 413, read, write and keep-alive timeouts, TLS over OpenSSL 3)
// and lets the server own its worker threads (below), where each worker keeps its own
// database connection. What it lacks, a connection cap, is the worker pool's queue bound.
#include "server/http_edge.h"

#include <httplib.h>

#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "kb/auditdbsys.h"
#include "platform/ui_hooks.h"
#include "server/console/console.h"
#include "server/health.h"

namespace {

// Set on the thread that serves a connection: its worker's context, or refuse-all for a
// connection over the cap (answered on the accepting thread).
thread_local WorkerContext* t_context = nullptr;
thread_local bool t_overCap = false;

// The library's messages on a worker's connection: kept for the log, never shown; questions
// (an upgrade) are answered No, since a server never upgrades a database on its own.
int QuietMessage(const char* text, unsigned int style, CallbackValue context) {
    auto* last = reinterpret_cast<std::string*>(context);
    if (text) *last = text;
    return (style & 0x0F) == platform::kMbYesNo ? platform::kIdNo : platform::kIdOk;
}

// One worker's database connection and importer; lives on the worker's thread.
class Worker : public WorkerConnection {
public:
    Worker(const ServerSettings& settings, std::mutex& sqliteWriters)
        : m_settings(settings),
          m_sqliteWriters(sqliteWriters),
          m_db(m_kb),
          m_transactions(m_db),
          m_importer(m_db, m_transactions),
          context{m_db, m_importer, settings, this, nullptr, {}, settings.console} {
        m_db.SetMsgBoxCallback(QuietMessage, reinterpret_cast<CallbackValue>(&m_lastMessage));
        Ready();
    }
    ~Worker() override {
        if (m_db.IsDbOpen()) m_db.CloseDB();
    }

    bool Ready() override {
        if (m_db.IsDbOpen()) return true;
        m_db.SetMsgBoxCallback(QuietMessage, reinterpret_cast<CallbackValue>(&m_lastMessage));
        if (m_db.Open(m_settings.connection.c_str(), nullptr, 0x4) == 0) return false;
        context.writerGate = m_db.GetEngine() == SqlEngine::Sqlite ? &m_sqliteWriters : nullptr;
        return true;
    }
    bool Answers() override {
        if (!m_db.IsDbOpen()) return false;
        try {
            m_db.ExecuteStatement("SELECT 1");
            return true;
        } catch (...) {
            Lost();
            return false;
        }
    }
    void Lost() override {
        if (m_db.IsDbOpen()) m_db.CloseDB();
    }

private:
    const ServerSettings& m_settings;
    std::mutex& m_sqliteWriters;
    std::string m_lastMessage;
    CAuditDBSys m_kb;
    CNorvikSql m_db;
    SqlImportTransactions m_transactions;
    CInventoryImporter m_importer;

public:
    WorkerContext context;
};

// The library's task queue, with threads of our own: each owns a Worker. A connection is one
// task; a connection over the cap (served plus waiting) is answered 503 on the accepting thread
// at once, without waiting for a worker. Accepting pauses while it is answered, at most the read
// timeout for a client that sends nothing: beyond the cap, connections wait in the kernel's queue.
class WorkerPool : public httplib::TaskQueue {
public:
    // Returns once every worker has tried to open its connection, so that the server is ready
    // when it says so.
    explicit WorkerPool(const ServerSettings& settings) : m_cap(static_cast<std::size_t>(settings.maxConnections)) {
        for (int i = 0; i < settings.workers; ++i) m_threads.emplace_back([this, &settings] { Serve(settings); });
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ready.wait(lock, [this] { return m_started == m_threads.size(); });
    }
    ~WorkerPool() override {
        if (!m_stopping) shutdown();
    }
    void enqueue(std::function<void()> fn) override {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_jobs.size() + m_busy < m_cap) {
                m_jobs.push_back(std::move(fn));
                m_ready.notify_one();
                return;
            }
        }
        t_overCap = true;
        fn();
        t_overCap = false;
    }
    void shutdown() override {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_stopping = true;
        }
        m_ready.notify_all();
        for (auto& thread : m_threads) thread.join();
    }

private:
    void Serve(const ServerSettings& settings) {
        Worker worker(settings, m_sqliteWriters);
        t_context = &worker.context;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            ++m_started;
        }
        m_ready.notify_all();
        for (;;) {
            std::function<void()> job;
            {
                std::unique_lock<std::mutex> lock(m_mutex);
                m_ready.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
                if (m_jobs.empty()) break;  // stopping, and nothing left to serve
                job = std::move(m_jobs.front());
                m_jobs.pop_front();
                ++m_busy;
            }
            job();
            std::unique_lock<std::mutex> lock(m_mutex);
            --m_busy;
        }
        t_context = nullptr;
    }

    std::size_t m_cap;
    std::mutex m_sqliteWriters;  // the workers' turns at writing a SQLite database
    std::vector<std::thread> m_threads;
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<std::function<void()>> m_jobs;
    std::size_t m_busy = 0;
    std::size_t m_started = 0;
    bool m_stopping = false;
};

// What the library owns and deletes after its shutdown: a handle on the edge's own pool.
class PoolHandle : public httplib::TaskQueue {
public:
    explicit PoolHandle(WorkerPool& pool) : m_pool(pool) {}
    void enqueue(std::function<void()> fn) override { m_pool.enqueue(std::move(fn)); }
    void shutdown() override { m_pool.shutdown(); }

private:
    WorkerPool& m_pool;
};

HttpRequest ToRequest(const httplib::Request& from, bool tls) {
    HttpRequest request;
    request.method = from.method;
    request.path = from.path;
    for (const auto& [name, value] : from.params) request.query.emplace_back(name, value);
    for (const auto& [name, value] : from.headers) request.headers.emplace_back(name, value);
    request.body = from.body;
    request.client = from.remote_addr;
    request.tls = tls;
    return request;
}

void ToResponse(const HttpResponse& from, httplib::Response& to) {
    to.status = from.status;
    for (const auto& [name, value] : from.headers) to.set_header(name, value);
    to.set_content(from.body, from.contentType.c_str());
}

}  // namespace

struct HttpEdge::Impl {
    const ServerSettings& settings;
    const Router& router;
    AccessLog& log;
    std::unique_ptr<httplib::Server> server;
    std::unique_ptr<WorkerPool> pool;
    // Builds the overview's report when it is too slow to build for a page.
    std::unique_ptr<SiteReportRefresher> refresher;
    std::atomic<int> listenFd{-1};
    int port = 0;

    void Serve(const httplib::Request& req, httplib::Response& res) {
        const auto start = std::chrono::steady_clock::now();
        const HttpRequest request = ToRequest(req, !settings.tlsCert.empty());
        HttpResponse response =
            t_context ? router.Dispatch(request, *t_context) : TextResponse(503, "no worker serves this connection");
        ToResponse(response, res);
        const auto elapsed = std::chrono::steady_clock::now() - start;
        log.Write(request, response, std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
    }
};

HttpEdge::HttpEdge(const ServerSettings& settings, const Router& router, AccessLog& log)
    : m_impl(new Impl{settings, router, log, nullptr, nullptr, nullptr, -1, 0}) {}

HttpEdge::~HttpEdge() = default;

bool HttpEdge::Bind(std::string& error) {
    const ServerSettings& settings = m_impl->settings;
    if (!settings.tlsCert.empty()) {
        auto tls = std::make_unique<httplib::SSLServer>(settings.tlsCert.c_str(), settings.tlsKey.c_str());
        if (!tls->is_valid()) {
            error = "cannot load the TLS certificate " + settings.tlsCert + " with key " + settings.tlsKey;
            return false;
        }
        m_impl->server = std::move(tls);
    } else {
        m_impl->server = std::make_unique<httplib::Server>();
    }
    httplib::Server& server = *m_impl->server;
    m_impl->pool = std::make_unique<WorkerPool>(settings);
    m_impl->refresher =
        std::make_unique<SiteReportRefresher>(ConsoleStateOr(settings.console).reports, settings.connection);
    WorkerPool* pool = m_impl->pool.get();
    server.new_task_queue = [pool] { return new PoolHandle(*pool); };
    // The listening socket is kept so that a stop can end the accepting alone (see Stop).
    Impl* impl = m_impl.get();
    server.set_socket_options([impl](socket_t fd) {
        int yes = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        int none = -1;
        impl->listenFd.compare_exchange_strong(none, static_cast<int>(fd));
    });
    server.set_tcp_nodelay(true);
    server.set_payload_max_length(settings.maxBodyBytes);
    server.set_read_timeout(settings.readTimeoutSeconds, 0);
    server.set_write_timeout(settings.writeTimeoutSeconds, 0);
    server.set_keep_alive_timeout(settings.keepAliveSeconds);
    server.set_keep_alive_max_count(static_cast<size_t>(settings.keepAliveRequests));
    server.set_pre_routing_handler([impl](const httplib::Request& req, httplib::Response& res) {
        // The library would inflate a Content-Encoding body itself, whole and unbounded; agents
        // name their compression in the Content-Type, which the server inflates within its limit.
        const std::string encoding = req.get_header_value("Content-Encoding");
        if (!encoding.empty() && encoding != "identity") {
            res.status = 415;
            res.set_header("Connection", "close");
            res.set_content("Content-Encoding is not accepted: name the compression in the Content-Type\n",
                            "text/plain; charset=utf-8");
            impl->log.WriteRefusal(req.remote_addr, req.method, req.path, 415, "refused: Content-Encoding");
            return httplib::Server::HandlerResponse::Handled;
        }
        if (!t_overCap) return httplib::Server::HandlerResponse::Unhandled;
        res.status = 503;
        res.set_header("Retry-After", std::to_string(impl->settings.retryAfterSeconds));
        res.set_header("Connection", "close");
        res.set_content("too many connections\n", "text/plain; charset=utf-8");
        impl->log.WriteRefusal(req.remote_addr, req.method, req.path, 503, "refused: too many connections");
        return httplib::Server::HandlerResponse::Handled;
    });
    // Refusals the library makes itself (413 for a body over the limit, 400 for a request it
    // cannot read) come without a body: give them their line, and log them.
    server.set_error_handler(
        httplib::Server::HandlerWithResponse([impl](const httplib::Request& req, httplib::Response& res) {
            if (!res.body.empty()) return httplib::Server::HandlerResponse::Unhandled;
            const std::string reason =
                res.status == 413 ? "the body is larger than " + std::to_string(impl->settings.maxBodyBytes) + " bytes"
                                  : "the request cannot be read (status " + std::to_string(res.status) + ")";
            res.set_content(reason + "\n", "text/plain; charset=utf-8");
            impl->log.WriteRefusal(req.remote_addr, req.method, req.path, res.status, "refused: " + reason);
            return httplib::Server::HandlerResponse::Handled;
        }));
    const auto serve = [impl](const httplib::Request& req, httplib::Response& res) { impl->Serve(req, res); };
    server.Get(".*", serve);
    server.Post(".*", serve);
    server.Put(".*", serve);
    server.Delete(".*", serve);
    server.Patch(".*", serve);
    server.Options(".*", serve);
    if (settings.port == 0) {
        m_impl->port = server.bind_to_any_port(settings.host);
    } else {
        m_impl->port = server.bind_to_port(settings.host, settings.port) ? settings.port : -1;
    }
    if (m_impl->port < 0) {
        error = "cannot listen on " + settings.host + ":" + std::to_string(settings.port);
        return false;
    }
    return true;
}

int HttpEdge::Port() const { return m_impl->port; }

std::string HttpEdge::Url() const {
    const std::string& host = m_impl->settings.host;
    const bool v6 = host.find(':') != std::string::npos;
    return std::string(m_impl->settings.tlsCert.empty() ? "http" : "https") + "://" + (v6 ? "[" + host + "]" : host) +
           ":" + std::to_string(m_impl->port) + "/";
}

void HttpEdge::Run() { m_impl->server->listen_after_bind(); }

void HttpEdge::Stop() {
    // The library's own stop also ends every connection whose request a worker has not begun
    // (it checks the listening socket before each request): shutting the listening socket
    // down instead ends only the accepting, and the library then drains the queue and joins.
    const int fd = m_impl->listenFd.load();
    if (fd >= 0) {
        ::shutdown(fd, SHUT_RDWR);
    } else if (m_impl->server) {
        m_impl->server->stop();
    }
}
