// A tiny HTTP/1.1 server for the browser test: one thread, one connection at a time, every
// answer closing its connection. It stands in for the server's edge, handing each request to
// a handler as the edge does. For tests only: it trusts what it reads.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "server/http_message.h"

class TestHttpServer {
public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;
    // Listens on 127.0.0.1 at a free port and answers from its own thread until destroyed.
    explicit TestHttpServer(Handler handler);
    ~TestHttpServer();
    TestHttpServer(const TestHttpServer&) = delete;
    TestHttpServer& operator=(const TestHttpServer&) = delete;

    int Port() const { return m_port; }

private:
    void Run();
    void Serve(int connection);

    Handler m_handler;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
