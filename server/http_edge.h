// The edge: the HTTP(S) listener, its worker threads and its limits. Requests are turned into
// HttpRequest values and answered by the Router on the worker that holds the connection; each
// worker owns its own Audit Database connection and importer for the server's lifetime.
#pragma once

#include <memory>
#include <string>

#include "server/access_log.h"
#include "server/router.h"
#include "server/server_settings.h"

// One server. Bind, then Run on one thread; Stop from any other (a signal watcher) makes Run
// stop accepting, finish the requests in flight and return. `settings`, `router` and `log`
// must outlive it.
class HttpEdge {
public:
    HttpEdge(const ServerSettings& settings, const Router& router, AccessLog& log);
    ~HttpEdge();
    HttpEdge(const HttpEdge&) = delete;
    HttpEdge& operator=(const HttpEdge&) = delete;

    // Starts the workers and binds the listen address (port 0: a free port). False with `error`
    // set when the address cannot be bound or the TLS certificate or key cannot be loaded.
    bool Bind(std::string& error);
    // The bound port, and "http(s)://HOST:PORT/".
    int Port() const;
    std::string Url() const;
    // Serves until Stop; returns after the requests in flight were answered.
    void Run();
    void Stop();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
