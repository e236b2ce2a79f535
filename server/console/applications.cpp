// The application pages: the catalogue by publisher with installation counts, and one
// application's versions, licence and the assets holding it.
#include "server/console/console_pages.h"

namespace {

HttpResponse ApplicationList(const ConsoleRequest& request) {
    const std::optional<std::string> text = ParseSearch(request.http);
    if (!text) return ConsoleError(request, 400, "The search text is too long");
    const std::optional<ULong> page = ParsePage(request.http);
    if (!page) return ConsoleError(request, 400, "Bad page: " + request.http.Query("page"));
    Paging paging{*page, 0};
    CDynaList<CNorvik::ApplicationPageRow> rows;
    paging.total = request.db.applicationEnumPage(text->c_str(), 0, paging.Offset(), kConsolePageSize, rows);
    if (paging.Beyond()) return ConsoleError(request, 404, "No page " + std::to_string(paging.page));

    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        WritePaging(json, paging);
        json.Key("applications");
        json.StartArray();
        for (const auto& row : rows) {
            json.StartObject();
            JsonKeyNumber(json, "id", row.id);
            JsonKeyString(json, "publisher", row.publisher.str());
            JsonKeyString(json, "name", row.name.str());
            JsonKeyNumber(json, "installations", row.installations);
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        return ConsoleJson(buffer);
    }
    // Rows come ordered by publisher; each publisher heads its group once.
    mstch::array items;
    std::string previous;
    for (ULong i = 0; i < rows.GetCount(); ++i) {
        const std::string publisher = rows[i].publisher.IsEmpty() ? std::string("Unknown") : rows[i].publisher.str();
        items.push_back(mstch::map{{"id", std::to_string(rows[i].id)},
                                   {"publisher", publisher},
                                   {"newPublisher", i == 0 || publisher != previous},
                                   {"name", rows[i].name.IsEmpty() ? std::string("(no name)") : rows[i].name.str()},
                                   {"installations", FormatCount(rows[i].installations)}});
        previous = publisher;
    }
    const std::string parameters = text->empty() ? "" : "q=" + UrlEncode(*text);
    mstch::map context{{"applications", items},
                       {"any", !items.empty()},
                       {"q", *text},
                       {"paging", PagingContext(paging, "/applications", parameters)},
                       {"agentUrl", request.settings.agentUrl}};
    return ConsolePage(request, "Applications", "applications", context);
}

HttpResponse ApplicationDetail(const ConsoleRequest& request) {
    const std::optional<ULong> id = ParseId(std::string_view(request.rest).substr(1));
    if (!id) return ConsoleError(request, 404, "No application " + request.rest.substr(1));
    const std::optional<ULong> page = ParsePage(request.http);
    if (!page) return ConsoleError(request, 400, "Bad page: " + request.http.Query("page"));
    CNorvik& db = request.db;
    // Every catalogue row has a licence type (1 when none is specified); a missing row has 0.
    if (db.GetAppLicenceType(*id) == 0) return ConsoleError(request, 404, "No application " + std::to_string(*id));
    const std::string name = db.applicationGetName(*id, 0, 0).str();
    const std::string publisher = db.GetAppPublisher(*id, 0).str();
    const std::string licence = db.GetAppLicenceDesc(*id).str();
    ULong type = 0, flags = 0;
    int instances = 0, difference = 0;
    db.GetAppLicenceStats(0, *id, type, flags, instances, difference);
    CSortList versions;
    db.applicationEnumVersions(*id, versions);

    Paging paging{*page, 0};
    CNorvik::AssetPageQuery query;
    query.app = *id;
    query.offset = paging.Offset();
    query.limit = kConsolePageSize;
    CDynaList<CNorvik::AssetPageRow> assets;
    paging.total = db.assetEnumPage(query, assets);
    if (paging.Beyond()) return ConsoleError(request, 404, "No page " + std::to_string(paging.page));

    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        JsonKeyNumber(json, "id", *id);
        JsonKeyString(json, "publisher", publisher);
        JsonKeyString(json, "name", name);
        JsonKeyString(json, "licence", licence);
        json.Key("installed");
        json.Int(instances);
        json.Key("difference");
        json.Int(difference);
        json.Key("versions");
        json.StartArray();
        for (const CSortItem& version : versions) {
            json.StartObject();
            JsonKeyString(json, "version", version.text.str());
            JsonKeyNumber(json, "assets", version.extra);
            json.EndObject();
        }
        json.EndArray();
        json.Key("assets");
        json.StartObject();
        WritePaging(json, paging);
        json.Key("rows");
        json.StartArray();
        for (const auto& asset : assets) {
            json.StartObject();
            JsonKeyNumber(json, "id", asset.id);
            JsonKeyString(json, "name", asset.name.str());
            JsonKeyString(json, "location", asset.place.str());
            JsonKeyString(json, "version", asset.version.str());
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        json.EndObject();
        return ConsoleJson(buffer);
    }
    mstch::array versionItems, assetItems;
    for (const CSortItem& version : versions)
        versionItems.push_back(
            mstch::map{{"version", version.text.IsEmpty() ? std::string("(none)") : version.text.str()},
                       {"assets", FormatCount(version.extra)}});
    for (const auto& asset : assets)
        assetItems.push_back(mstch::map{{"id", std::to_string(asset.id)},
                                        {"name", asset.name.IsEmpty() ? std::string("(no name)") : asset.name.str()},
                                        {"location", asset.place.str()},
                                        {"version", asset.version.str()}});
    const std::string title = publisher.empty() ? name : publisher + " " + name;
    mstch::map context{{"publisher", publisher},
                       {"name", name.empty() ? std::string("(no name)") : name},
                       {"licence", licence},
                       {"installed", FormatCount(static_cast<ULong>(std::max(instances, 0)))},
                       {"overUsed", difference < 0},
                       {"difference", std::to_string(difference)},
                       {"versions", versionItems},
                       {"assets", assetItems},
                       {"anyAssets", !assetItems.empty()},
                       {"paging", PagingContext(paging, "/applications/" + std::to_string(*id), "")}};
    return ConsolePage(request, title.empty() ? "(no name)" : title, "application", context);
}

}  // namespace

HttpResponse ApplicationsPage(const ConsoleRequest& request) {
    return request.rest.empty() ? ApplicationList(request) : ApplicationDetail(request);
}
