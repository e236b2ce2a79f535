// The console's router: which paths are its own, the log-on gate, the headers every answer
// carries, and the one place where a failure becomes a 500.
#include "server/console/console.h"

#include <exception>

#include "server/console/console_assets.h"
#include "server/console/console_pages.h"

namespace {

// Scripts only from the binary itself, no inline script or style, nothing from another host.
constexpr const char* kContentSecurityPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; form-action 'self'; "
    "frame-ancestors 'none'; base-uri 'none'";

enum class Family { None, Overview, Locations, Assets, Applications, Licences, History, Login, Logout };

bool StartsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// The family of `path` (without the /api prefix) and the rest after the family's prefix.
Family FamilyOf(const std::string& path, std::string& rest) {
    static const struct {
        const char* prefix;
        Family family;
    } kFamilies[] = {
        {"/locations", Family::Locations}, {"/assets", Family::Assets},   {"/applications", Family::Applications},
        {"/licences", Family::Licences},   {"/history", Family::History}, {"/login", Family::Login},
        {"/logout", Family::Logout}};
    if (path == "/" || path.empty()) {
        rest.clear();
        return Family::Overview;
    }
    for (const auto& entry : kFamilies) {
        if (!StartsWith(path, entry.prefix)) continue;
        rest = path.substr(std::string_view(entry.prefix).size());
        // "/assetsX" is not the assets family; "/assets/12" and "/assets.csv" are.
        if (rest.empty() || rest[0] == '/' || (entry.family == Family::Assets && rest == ".csv")) return entry.family;
    }
    return Family::None;
}

const char* ContentTypeOf(std::string_view name) {
    if (name.ends_with(".css")) return "text/css; charset=utf-8";
    if (name.ends_with(".js")) return "text/javascript; charset=utf-8";
    if (name.ends_with(".svg")) return "image/svg+xml";
    return "application/octet-stream";
}

void AddSafetyHeaders(HttpResponse& response, bool cacheable) {
    response.SetHeader("Content-Security-Policy", kContentSecurityPolicy);
    response.SetHeader("X-Content-Type-Options", "nosniff");
    response.SetHeader("X-Frame-Options", "DENY");
    // Not "no-referrer": browsers then send "Origin: null" with the console's own form posts,
    // which the log-on refuses as coming from another site.
    response.SetHeader("Referrer-Policy", "same-origin");
    response.SetHeader("Cache-Control", cacheable ? "public, max-age=3600" : "no-store");
}

// The console's own files under /console/: the style sheet, the script and the icon. Templates
// are not served.
bool ServeAsset(const HttpRequest& request, HttpResponse& response) {
    const std::string name = request.path.substr(std::string_view("/console/").size());
    const ConsoleAsset* asset = name.ends_with(".mustache") ? nullptr : FindConsoleAsset(name);
    if (!asset || (request.method != "GET" && request.method != "HEAD")) {
        response = TextResponse(404, "Not found");
        AddSafetyHeaders(response, false);
        return true;
    }
    response = HttpResponse{};
    response.contentType = ContentTypeOf(name);
    response.body = asset->text;
    AddSafetyHeaders(response, true);
    return true;
}

// The local path to come back to after logging on: the request's own path and query.
std::string ComeBackTo(const HttpRequest& request) {
    std::string target = request.path;
    for (std::size_t i = 0; i < request.query.size(); ++i) {
        target += i == 0 ? '?' : '&';
        target += UrlEncode(request.query[i].first);
        target += '=';
        target += UrlEncode(request.query[i].second);
    }
    return target;
}

HttpResponse Answer(const HttpRequest& request, Family family, ConsoleRequest& page, ConsoleState& state) {
    const bool posting = request.method == "POST";
    const bool reading = request.method == "GET" || request.method == "HEAD";
    const bool formFamily = family == Family::Login || family == Family::Logout;
    if (!reading && !(posting && formFamily)) {
        HttpResponse refused = ConsoleError(page, 405, "Method not allowed");
        refused.SetHeader("Allow", formFamily ? "GET, HEAD, POST" : "GET, HEAD");
        return refused;
    }
    const bool secured = page.db.IsSecurityEnabled() != 0;
    if (secured) page.user = state.sessions.UserOf(SessionToken(request));
    if (family == Family::Login) return LoginPage(page, state.sessions, secured);
    if (family == Family::Logout) return LogoutPage(page, state.sessions);
    if (secured && page.user.empty()) {
        if (page.api) return ConsoleError(page, 401, "Log on first");
        HttpResponse redirect = TextResponse(303, "Log on first");
        redirect.SetHeader("Location", "/login?next=" + UrlEncode(ComeBackTo(request)));
        return redirect;
    }
    switch (family) {
        case Family::Overview: return OverviewPage(page);
        case Family::Locations: return LocationsPage(page);
        case Family::Assets: return AssetsPage(page);
        case Family::Applications: return ApplicationsPage(page);
        case Family::Licences: return LicencesPage(page);
        case Family::History: return HistoryPage(page);
        default: return ConsoleError(page, 404, "Not found");
    }
}

}  // namespace

std::string SessionToken(const HttpRequest& request) {
    // Cookie: a=1; norvik_session=TOKEN; b=2
    const std::string cookies = request.Header("Cookie");
    const std::string wanted = std::string(kConsoleCookie) + "=";
    std::size_t at = 0;
    while (at < cookies.size()) {
        std::size_t end = cookies.find(';', at);
        if (end == std::string::npos) end = cookies.size();
        std::string_view pair(cookies.data() + at, end - at);
        while (!pair.empty() && pair.front() == ' ') pair.remove_prefix(1);
        if (StartsWith(pair, wanted)) return std::string(pair.substr(wanted.size()));
        at = end + 1;
    }
    return {};
}

bool HandleConsole(const HttpRequest& request, CNorvikSql& db, ConsoleState& state, HttpResponse& response) {
    if (StartsWith(request.path, "/console/")) return ServeAsset(request, response);
    const bool api = request.path == "/api" || StartsWith(request.path, "/api/");
    const std::string path = api ? request.path.substr(4) : request.path;
    std::string rest;
    const Family family = FamilyOf(path, rest);
    if (family == Family::None && !api) return false;
    // Agents post their inventories to "/" and ask for their configuration with ?action=.
    if (!api && family == Family::Overview &&
        ((request.method != "GET" && request.method != "HEAD") || !request.Query("action").empty()))
        return false;
    ConsoleRequest page{request, db, state.settings, {}, api, rest, &state.reports};
    try {
        response = family == Family::None ? ConsoleError(page, 404, "Not found") : Answer(request, family, page, state);
    } catch (const std::exception& e) {
        response = ConsoleError(page, 500, std::string("The console could not answer: ") + e.what());
    } catch (...) {
        response = ConsoleError(page, 500, "The console could not answer");
    }
    AddSafetyHeaders(response, false);
    return true;
}

ConsoleState& ConsoleStateOr(ConsoleState* named) {
    // One state for the whole process when the server names none: sessions must outlive a
    // request and be seen by every worker.
    static ConsoleState fallback;
    return named ? *named : fallback;
}

bool HandleConsole(const HttpRequest& request, WorkerContext& context, HttpResponse& response) {
    return HandleConsole(request, context.db, ConsoleStateOr(context.console), response);
}
