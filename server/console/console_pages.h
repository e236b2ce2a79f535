// The console's page families, one source file each: each parses and checks its request, reads
// through CNorvik or report/, and renders the page or, for request.api, its JSON twin.
#pragma once

#include <vector>

#include "report/licence_report.h"
#include "server/console/console_render.h"
#include "server/console/console_sessions.h"

// "/": the site report with its charts.
HttpResponse OverviewPage(const ConsoleRequest& request);
// "/locations": the location tree with asset counts per subtree.
HttpResponse LocationsPage(const ConsoleRequest& request);
// "/assets" (the listing), "/assets.csv" (its selection as CSV) and "/assets/ID".
HttpResponse AssetsPage(const ConsoleRequest& request);
// "/applications" and "/applications/ID".
HttpResponse ApplicationsPage(const ConsoleRequest& request);
// "/licences": the compliance report, over-used first.
HttpResponse LicencesPage(const ConsoleRequest& request);
// The licence rows as the overview and the licence page show them.
void WriteLicenceRows(JsonWriter& json, const std::vector<LicenceReportRow>& rows);
mstch::array LicenceItems(const std::vector<LicenceReportRow>& rows);
// "/history": the site's recent changes.
HttpResponse HistoryPage(const ConsoleRequest& request);
// "/login" and "/logout". `secured` tells whether the site's security switch is on.
HttpResponse LoginPage(const ConsoleRequest& request, ConsoleSessions& sessions, bool secured);
HttpResponse LogoutPage(const ConsoleRequest& request, ConsoleSessions& sessions);

// The name of the session cookie, and the token it carries in `request` (empty when none).
constexpr const char* kConsoleCookie = "norvik_session";
std::string SessionToken(const HttpRequest& request);
