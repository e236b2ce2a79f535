// The site's recent changes: the history of every asset since a number of days ago (7 unless
// asked), newest first, optionally of one kind, paged.
#include "server/console/console_pages.h"

namespace {

constexpr ULong kMostDays = 3650;

struct KindChoice {
    int kind;
    const char* label;
};
// The kinds a reader filters by (the history codes' lowest byte).
constexpr KindChoice kKinds[] = {
    {3, "Asset"}, {2, "Location"}, {13, "Application"}, {14, "Hardware"}, {15, "Hardware item"}};

}  // namespace

HttpResponse HistoryPage(const ConsoleRequest& request) {
    if (!request.rest.empty()) return ConsoleError(request, 404, "Not found");
    const std::string daysText = request.http.Query("days", std::to_string(kConsoleHistoryDays));
    const std::optional<ULong> days = ParseId(daysText);
    if (!days || *days > kMostDays) return ConsoleError(request, 400, "Bad days: " + daysText);
    const std::string kindText = request.http.Query("kind");
    int kind = -1;
    for (const KindChoice& choice : kKinds)
        if (kindText == std::to_string(choice.kind)) kind = choice.kind;
    if (!kindText.empty() && kind < 0) return ConsoleError(request, 400, "Bad kind: " + kindText);
    const std::optional<ULong> page = ParsePage(request.http);
    if (!page) return ConsoleError(request, 400, "Bad page: " + request.http.Query("page"));

    const CTime since(CTime::GetCurrentTime().GetTime() - static_cast<long long>(*days) * 86400);
    Paging paging{*page, 0};
    CDynaList<CNorvik::HistoryPageRow> rows;
    paging.total = request.db.historyEnumPage(0, since, kind, paging.Offset(), kConsolePageSize, rows);
    if (paging.Beyond()) return ConsoleError(request, 404, "No page " + std::to_string(paging.page));

    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        WritePaging(json, paging);
        JsonKeyNumber(json, "days", *days);
        json.Key("changes");
        json.StartArray();
        for (const auto& row : rows) {
            json.StartObject();
            JsonKeyTime(json, "date", row.date);
            JsonKeyNumber(json, "asset", row.asset);
            JsonKeyString(json, "assetName", row.assetName.str());
            JsonKeyString(json, "kind", row.category.str());
            JsonKeyString(json, "text", row.text.str());
            JsonKeyString(json, "user", row.user.str());
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        return ConsoleJson(buffer);
    }
    mstch::array items;
    for (const auto& row : rows)
        items.push_back(mstch::map{{"date", FormatTime(row.date)},
                                   {"asset", std::to_string(row.asset)},
                                   {"assetName", row.assetName.IsEmpty() ? std::string("(gone)") : row.assetName.str()},
                                   {"kind", row.category.str()},
                                   {"text", row.text.str()},
                                   {"user", row.user.str()}});
    mstch::array kinds;
    for (const KindChoice& choice : kKinds)
        kinds.push_back(mstch::map{{"kind", std::to_string(choice.kind)},
                                   {"label", std::string(choice.label)},
                                   {"selected", choice.kind == kind}});
    std::string parameters = "days=" + std::to_string(*days);
    if (kind >= 0) parameters += "&kind=" + std::to_string(kind);
    mstch::map context{{"changes", items},
                       {"any", !items.empty()},
                       {"days", std::to_string(*days)},
                       {"kinds", kinds},
                       {"paging", PagingContext(paging, "/history", parameters)}};
    return ConsolePage(request, "History", "history", context);
}
