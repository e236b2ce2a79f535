// The overview: the site report's sections, its counts drawn as bar charts in inline SVG (the
// numbers computed here, the markup in the template).
#include "report/site_report.h"
#include "server/console/console_pages.h"
#include "server/console/site_report_cache.h"

namespace {

// The chart's geometry in SVG user units.
constexpr int kRowHeight = 22;
constexpr int kBarLeft = 250;
constexpr int kBarLongest = 320;
constexpr std::size_t kLabelChars = 34;
// Assets listed as not audited on the overview; the listing has them all.
constexpr std::size_t kNotAuditedShown = 20;

// At most `chars` characters of `text` (whole UTF-8 sequences), "…" marking a cut.
std::string Cut(const std::string& text, std::size_t chars) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
        if (count++ == chars) return text.substr(0, i) + "\u2026";
    }
    return text;
}

struct Bar {
    std::string name;
    ULong count;
    std::string link;
};

mstch::map Chart(const std::string& title, const std::vector<Bar>& bars) {
    ULong most = 1;
    for (const Bar& bar : bars) most = std::max(most, bar.count);
    mstch::array rows;
    int y = 0;
    for (const Bar& bar : bars) {
        const int width = static_cast<int>(bar.count * kBarLongest / most);
        rows.push_back(mstch::map{{"name", Cut(bar.name, kLabelChars)},
                                  {"full", bar.name},
                                  {"count", FormatCount(bar.count)},
                                  {"link", bar.link},
                                  {"hasLink", !bar.link.empty()},
                                  {"y", std::to_string(y + 4)},
                                  {"textY", std::to_string(y + 16)},
                                  {"width", std::to_string(std::max(width, 1))},
                                  {"countX", std::to_string(kBarLeft + width + 6)}});
        y += kRowHeight;
    }
    return mstch::map{
        {"title", title}, {"bars", rows}, {"any", !bars.empty()}, {"height", std::to_string(std::max(y, kRowHeight))}};
}

std::vector<Bar> Bars(const std::vector<SiteReportCount>& counts, const char* filter) {
    std::vector<Bar> bars;
    for (std::size_t i = 0; i < counts.size() && i < kSiteReportTop; ++i) {
        std::string link;
        if (filter && counts[i].name != kSiteReportUnknown)
            link = std::string("/assets?") + filter + "=" + UrlEncode(counts[i].name);
        bars.push_back(Bar{counts[i].name, counts[i].count, link});
    }
    return bars;
}

void WriteCounts(JsonWriter& json, const char* key, const std::vector<SiteReportCount>& counts) {
    json.Key(key);
    json.StartArray();
    for (const auto& count : counts) {
        json.StartObject();
        JsonKeyString(json, "name", count.name);
        JsonKeyNumber(json, "count", count.count);
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

HttpResponse OverviewPage(const ConsoleRequest& request) {
    if (!request.rest.empty()) return ConsoleError(request, 404, "Not found");
    const std::shared_ptr<const SiteReport> kept =
        request.reports ? request.reports->Get(request.db) : SiteReportCache::Build(request.db);
    const SiteReport& report = *kept;
    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        JsonKeyNumber(json, "assets", report.assets);
        WriteCounts(json, "categories", report.categories);
        WriteCounts(json, "operatingSystems", report.operatingSystems);
        json.Key("applications");
        json.StartArray();
        for (const auto& app : report.applications) {
            json.StartObject();
            JsonKeyNumber(json, "id", app.app);
            JsonKeyString(json, "publisher", app.publisher);
            JsonKeyString(json, "name", app.name);
            JsonKeyNumber(json, "installations", app.installations);
            json.EndObject();
        }
        json.EndArray();
        WriteCounts(json, "publishers", report.publishers);
        json.Key("licences");
        WriteLicenceRows(json, report.licences);
        json.Key("notAudited");
        json.StartArray();
        for (const auto& asset : report.notAudited) {
            json.StartObject();
            JsonKeyNumber(json, "id", asset.asset);
            JsonKeyString(json, "name", asset.name);
            JsonKeyTime(json, "lastAudit", asset.lastAudit);
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        return ConsoleJson(buffer);
    }

    std::vector<Bar> apps;
    for (const auto& app : report.applications)
        apps.push_back(Bar{app.publisher.empty() ? app.name : app.publisher + " " + app.name, app.installations,
                           "/applications/" + std::to_string(app.app)});
    std::vector<Bar> publishers;
    for (const auto& publisher : report.publishers)
        publishers.push_back(Bar{publisher.name, publisher.count, "/applications?q=" + UrlEncode(publisher.name)});
    mstch::array charts{Chart("Assets by category", Bars(report.categories, nullptr)),
                        Chart("Assets by operating system", Bars(report.operatingSystems, "os")),
                        Chart("Most installed applications", apps), Chart("Top publishers", publishers)};
    mstch::array notAudited;
    for (std::size_t i = 0; i < report.notAudited.size() && i < kNotAuditedShown; ++i)
        notAudited.push_back(mstch::map{{"id", std::to_string(report.notAudited[i].asset)},
                                        {"name", report.notAudited[i].name},
                                        {"audit", FormatTime(report.notAudited[i].lastAudit)}});
    mstch::map context{{"empty", report.assets == 0},
                       {"agentUrl", request.settings.agentUrl},
                       {"assets", FormatCount(report.assets)},
                       {"charts", charts},
                       {"licences", LicenceItems(report.licences)},
                       {"anyLicences", !report.licences.empty()},
                       {"notAudited", notAudited},
                       {"notAuditedCount", FormatCount(report.notAudited.size())},
                       {"anyNotAudited", !report.notAudited.empty()},
                       {"auditDays", std::to_string(kSiteReportAuditDays)}};
    return ConsolePage(request, "Overview", "overview", context);
}
