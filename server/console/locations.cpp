// The location tree: every location with the assets of its subtree and its address ranges, each
// linking to the listing of its assets.
#include <map>

#include "server/console/console_pages.h"

HttpResponse LocationsPage(const ConsoleRequest& request) {
    if (!request.rest.empty()) return ConsoleError(request, 404, "Not found");
    CDynaList<CNorvik::LocationTreeRow> rows;
    request.db.locEnumTree(rows);
    // Parents come before children, so the subtree totals add up from the last row back.
    std::map<ULong, ULong> subtree;
    std::map<ULong, int> depth{{0, -1}};
    for (const auto& row : rows) depth[row.id] = depth[row.parent] + 1;
    for (ULong i = rows.GetCount(); i-- > 0;) {
        subtree[rows[i].id] += rows[i].assets;
        if (rows[i].parent != 0) subtree[rows[i].parent] += subtree[rows[i].id];
    }
    const ULong site = request.db.CountAssets(0, 1, 0);

    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        json.Key("locations");
        json.StartArray();
        for (const auto& row : rows) {
            json.StartObject();
            JsonKeyNumber(json, "id", row.id);
            JsonKeyNumber(json, "parent", row.parent);
            JsonKeyString(json, "name", row.name.str());
            JsonKeyNumber(json, "assets", row.assets);
            JsonKeyNumber(json, "subtreeAssets", subtree[row.id]);
            JsonKeyString(json, "ipFrom", row.ipFrom.str());
            JsonKeyString(json, "ipTo", row.ipTo.str());
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        return ConsoleJson(buffer);
    }
    mstch::array items;
    for (const auto& row : rows) {
        std::string ranges;
        if (!row.ipFrom.IsEmpty() || !row.ipTo.IsEmpty()) ranges = row.ipFrom.str() + " \u2013 " + row.ipTo.str();
        items.push_back(mstch::map{{"id", std::to_string(row.id)},
                                   {"name", row.name.IsEmpty() ? std::string("(no name)") : row.name.str()},
                                   {"depth", std::to_string(std::min(depth[row.id], 12))},
                                   {"assets", FormatCount(row.assets)},
                                   {"subtree", FormatCount(subtree[row.id])},
                                   {"ranges", ranges}});
    }
    mstch::map context{{"locations", items}, {"any", !items.empty()}, {"site", FormatCount(site)}};
    return ConsolePage(request, "Locations", "locations", context);
}
