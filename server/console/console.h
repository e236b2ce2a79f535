// The web console's entry point: the site in a browser, every page with a JSON twin under
// /api/, behind a log-on when the site's security switch is on.
#pragma once

#include <functional>
#include <utility>

#include "server/console/console_sessions.h"
#include "server/console/console_settings.h"
#include "server/console/site_report_cache.h"
#include "server/http_message.h"
#include "server/worker_context.h"

// What the console keeps for the whole server process: its settings and the sessions that
// every worker shares. The server owns one and gives every worker's context a pointer to it.
struct ConsoleState {
    explicit ConsoleState(ConsoleSettings given = {},
                          std::function<ConsoleSessions::Clock::time_point()> clock = ConsoleSessions::Clock::now)
        : settings(std::move(given)), sessions(settings, std::move(clock)) {}
    const ConsoleSettings settings;
    ConsoleSessions sessions;
    SiteReportCache reports;  // the overview's report; the server runs its refresher
};

// `named`, or the process-wide state when it is null (a server that names none).
ConsoleState& ConsoleStateOr(ConsoleState* named);

// Answers a request for one of the console's paths into `response` and returns true; returns
// false, leaving `response` alone, when the path is not the console's: agents' posts to "/"
// (any method but GET and HEAD) and paths the console does not know. Never throws; a failed
// read answers 500 with one line. `db` is the worker's own connection; `state` is the process's
// console state (shared, thread-safe).
bool HandleConsole(const HttpRequest& request, CNorvikSql& db, ConsoleState& state, HttpResponse& response);
// As above with the console state the worker context names, or the process-wide default one
// when it names none.
bool HandleConsole(const HttpRequest& request, WorkerContext& context, HttpResponse& response);
