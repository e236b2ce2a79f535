// Which handler answers which request: a table of method and path, filled at start-up by the
// agents' protocols, the health check and the console, then only read by the workers.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "server/http_message.h"
#include "server/worker_context.h"

using Handler = std::function<HttpResponse(const HttpRequest&, WorkerContext&)>;

// Filled before the server starts and not changed afterwards (the workers read it unlocked).
class Router {
public:
    // Answers `method` on `path`; a path ending in '*' answers every path that begins with what
    // precedes it. A later Add of the same method and path replaces the earlier handler.
    void Add(const std::string& method, const std::string& path, Handler handler);

    // The handler's response; 404 for an unknown path, 405 (with Allow) for a known path asked
    // with another method, 500 with one line when the handler throws.
    HttpResponse Dispatch(const HttpRequest& request, WorkerContext& context) const;

private:
    struct Route {
        std::string method, path;
        Handler handler;
        bool Matches(const std::string& requested) const;
    };
    std::vector<Route> m_routes;
};

// The paths agents post to (so agents configured for another server keep their URL), the
// health check, and a placeholder for GET / until the console registers its pages.
void RegisterServerRoutes(Router& router);
// The console's pages, their JSON twins and its files, after RegisterServerRoutes (its GET / replaces
// the placeholder; agents' posts to / stay the agents').
void RegisterConsole(Router& router);
