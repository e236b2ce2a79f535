// Route lookup and the server's own routes.
#include "server/router.h"

#include <exception>

#include "server/agent_post.h"
#include "server/console/console.h"
#include "server/health.h"

void Router::Add(const std::string& method, const std::string& path, Handler handler) {
    for (Route& route : m_routes)
        if (route.method == method && route.path == path) {
            route.handler = std::move(handler);
            return;
        }
    m_routes.push_back(Route{method, path, std::move(handler)});
}

bool Router::Route::Matches(const std::string& requested) const {
    if (!path.empty() && path.back() == '*')
        return requested.compare(0, path.size() - 1, path, 0, path.size() - 1) == 0;
    return requested == path;
}

HttpResponse Router::Dispatch(const HttpRequest& request, WorkerContext& context) const {
    std::string allowed;
    for (const Route& route : m_routes) {
        if (!route.Matches(request.path)) continue;
        if (route.method != request.method) {
            if (allowed.find(route.method) == std::string::npos)
                allowed += (allowed.empty() ? "" : ", ") + route.method;
            continue;
        }
        try {
            return route.handler(request, context);
        } catch (const std::exception& e) {
            HttpResponse response = TextResponse(500, std::string("internal error: ") + e.what());
            response.logOutcome = "failed: " + std::string(e.what());
            return response;
        } catch (...) {
            HttpResponse response = TextResponse(500, "internal error");
            response.logOutcome = "failed";
            return response;
        }
    }
    if (!allowed.empty()) {
        HttpResponse response = TextResponse(405, "method " + request.method + " is not allowed here");
        response.SetHeader("Allow", allowed);
        response.logOutcome = "refused: method";
        return response;
    }
    HttpResponse response = TextResponse(404, "no such page: " + request.path);
    response.logOutcome = "refused: no such page";
    return response;
}

namespace {

HttpResponse Placeholder(const HttpRequest&, WorkerContext&) {
    HttpResponse response = TextResponse(404, "norvik inventory server: agents post their inventories here");
    response.logOutcome = "placeholder";
    return response;
}

}  // namespace

void RegisterServerRoutes(Router& router) {
    for (const char* path : {"/", "/ocsinventory", "/ocsinventory/", "/front/inventory.php",
                             "/plugins/fusioninventory/*", "/marketplace/glpiinventory/*", "/plugins/glpiinventory/*"})
        router.Add("POST", path, HandleAgentPost);
    router.Add("GET", "/health", HandleHealth);
    router.Add("GET", "/", Placeholder);
}

namespace {

HttpResponse ConsolePage(const HttpRequest& request, WorkerContext& context) {
    HttpResponse response;
    if (!HandleConsole(request, context, response)) {
        response = TextResponse(404, "no such page: " + request.path);
        response.logOutcome = "refused: no such page";
    }
    return response;
}

}  // namespace

void RegisterConsole(Router& router) {
    router.Add("GET", "/", ConsolePage);
    router.Add("HEAD", "/", ConsolePage);
    for (const char* path : {"/login", "/logout", "/locations*", "/assets*", "/applications*", "/licences*",
                             "/history*", "/api*", "/console/*"})
        for (const char* method : {"GET", "HEAD", "POST"}) router.Add(method, path, ConsolePage);
}
