// What every console page shares: the request as a page sees it, its answers (an HTML page in
// the layout, a JSON document, an error), and the parsing and formatting of its values.
#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <mstch/mstch.hpp>

#include <optional>
#include <string>
#include <string_view>

#include "platform/cstring.h"
#include "platform/ctime.h"
#include "server/console/console_settings.h"
#include "server/http_message.h"
#include "sql/norvik_sql.h"

class SiteReportCache;  // server/console/site_report_cache.h

// A request routed to a page family. `rest` is the path after the family's prefix ("" for the
// listing, "/12" for one row), the same for a page and its JSON twin.
struct ConsoleRequest {
    const HttpRequest& http;
    CNorvikSql& db;
    const ConsoleSettings& settings;
    std::string user;  // the logged-on console user; empty when the console is open
    bool api = false;  // the JSON twin was asked for
    std::string rest;
    SiteReportCache* reports = nullptr;  // where the overview's report is kept; null: built per request
};

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// ---- Answers ----
// The template `name` (server/console/assets/NAME.mustache) rendered with `context` inside the
// layout titled `title`. Texts of the context are escaped where the templates write them.
HttpResponse ConsolePage(const ConsoleRequest& request, const std::string& title, const char* name, mstch::map context,
                         int status = 200);
// `json` (one whole document) as application/json.
HttpResponse ConsoleJson(const rapidjson::StringBuffer& json, int status = 200);
// An error with one line of text: a page in the layout, or {"error": text} for the API.
HttpResponse ConsoleError(const ConsoleRequest& request, int status, const std::string& text);
// Renders the template `name` alone (no layout).
std::string RenderTemplate(const char* name, const mstch::map& context);

// ---- Values from the request ----
// A row identifier: 1 to 2^31-1 in plain decimal digits; nothing else.
std::optional<ULong> ParseId(std::string_view text);
// The page number of `?page=` (1 when absent); nothing for anything but 1..kConsoleMaxPage.
std::optional<ULong> ParsePage(const HttpRequest& request);
// The request's search text `?q=` trimmed; nothing when longer than kConsoleMaxSearch.
std::optional<std::string> ParseSearch(const HttpRequest& request, const char* name = "q");

// ---- Paging ----
struct Paging {
    ULong page = 1;
    ULong total = 0;
    ULong Pages() const { return total == 0 ? 1 : (total + kConsolePageSize - 1) / kConsolePageSize; }
    ULong Offset() const { return (page - 1) * kConsolePageSize; }
    // A page past the last one (the first page always exists, empty or not).
    bool Beyond() const { return page > Pages(); }
};
// The pager's context ("paging": first/last row shown, previous and next links) for a listing at
// `base` whose other parameters are `query` ("q=a&sort=name", may be empty).
mstch::map PagingContext(const Paging& paging, const std::string& base, const std::string& query);
void WritePaging(JsonWriter& json, const Paging& paging);

// ---- Formatting ----
// Local date and time "YYYY-MM-DD hh:mm"; "never" for a time never set.
std::string FormatTime(CTime time);
// Local day "YYYY-MM-DD"; empty for a time never set.
std::string FormatDay(CTime time);
// A count with thousands separated by a thin space.
std::string FormatCount(ULong count);
// `text` made safe for a URL's query value (every byte but unreserved ones as %XX).
std::string UrlEncode(std::string_view text);
// `text` as valid UTF-8: each byte that does not start or continue a valid sequence becomes
// U+FFFD, so JSON documents stay valid whatever an inventory held.
std::string ValidUtf8(std::string_view text);
// Writes `text` as a JSON string through ValidUtf8.
void JsonString(JsonWriter& json, std::string_view text);
void JsonKeyString(JsonWriter& json, const char* key, std::string_view text);
void JsonKeyNumber(JsonWriter& json, const char* key, ULong number);
// A time as "YYYY-MM-DDThh:mm:ss" local, or null when never set.
void JsonKeyTime(JsonWriter& json, const char* key, CTime time);
