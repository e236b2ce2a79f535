// The licence page: the compliance report of the whole site, over-used applications first.
#include "report/licence_report.h"
#include "server/console/console_pages.h"
#include "server/console/site_report_cache.h"

void WriteLicenceRows(JsonWriter& json, const std::vector<LicenceReportRow>& rows) {
    json.StartArray();
    for (const auto& row : rows) {
        json.StartObject();
        JsonKeyNumber(json, "id", row.app);
        JsonKeyString(json, "publisher", row.publisher);
        JsonKeyString(json, "name", row.name);
        JsonKeyString(json, "type", row.type);
        json.Key("declared");
        json.Int(row.declared);
        json.Key("installed");
        json.Int(row.installed);
        json.Key("difference");
        json.Int(row.difference);
        json.Key("overUsed");
        json.Bool(row.overUsed);
        json.EndObject();
    }
    json.EndArray();
}

mstch::array LicenceItems(const std::vector<LicenceReportRow>& rows) {
    mstch::array items;
    for (const auto& row : rows)
        items.push_back(mstch::map{{"id", std::to_string(row.app)},
                                   {"publisher", row.publisher},
                                   {"name", row.name},
                                   {"type", row.type},
                                   {"declared", std::to_string(row.declared)},
                                   {"installed", std::to_string(row.installed)},
                                   {"difference", std::to_string(row.difference)},
                                   {"overUsed", row.overUsed}});
    return items;
}

HttpResponse LicencesPage(const ConsoleRequest& request) {
    if (!request.rest.empty()) return ConsoleError(request, 404, "Not found");
    // The licences are part of the site report: a large site's kept report serves them, as it
    // serves the overview, rather than counting every installation again for each visit.
    const std::shared_ptr<const SiteReport> kept = request.reports ? request.reports->Get(request.db) : nullptr;
    const std::vector<LicenceReportRow> rows = kept ? kept->licences : BuildLicenceReport(request.db, 0);
    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        json.Key("licences");
        WriteLicenceRows(json, rows);
        json.EndObject();
        return ConsoleJson(buffer);
    }
    ULong overUsed = 0;
    for (const auto& row : rows) overUsed += row.overUsed ? 1 : 0;
    mstch::map context{{"licences", LicenceItems(rows)}, {"any", !rows.empty()}, {"overUsed", FormatCount(overUsed)}};
    return ConsolePage(request, "Licences", "licences", context);
}
