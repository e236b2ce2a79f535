// The asset pages: the listing with its search, filters, sorting and paging, its CSV download,
// and one asset's page (identity, fields, applications, software files, hardware, history,
// internet, notes).
#include <functional>
#include <map>
#include <set>

#include "import/inventory_mapping.h"
#include "interface/hardware_display.h"
#include "kb/file_signature.h"
#include "server/console/console_pages.h"

namespace {

// Rows read per statement while a CSV download is written, and the most it holds.
constexpr ULong kCsvBatch = 1000;
constexpr ULong kCsvMostRows = 200000;
// The most a filter may ask for as "not audited for N days".
constexpr ULong kMostDays = 36500;

struct SortColumn {
    const char* name;
    int sort;
};
constexpr SortColumn kSorts[] = {{"name", CNorvik::kAssetSortName},
                                 {"location", CNorvik::kAssetSortLocation},
                                 {"os", CNorvik::kAssetSortOs},
                                 {"ip", CNorvik::kAssetSortIp},
                                 {"audit", CNorvik::kAssetSortAudit}};

// The listing's selection as the request states it, checked.
struct Selection {
    CNorvik::AssetPageQuery query;
    std::string sortName = "name";
    std::string days;   // "not audited for" in days, as given
    std::string error;  // why the request is refused (400); empty when it is not
    // The selection's parameters again, for links that keep it ("q=a&os=b").
    std::string Parameters(bool withSort) const {
        std::string text;
        const auto add = [&text](const char* key, const std::string& value) {
            if (value.empty()) return;
            text += (text.empty() ? "" : "&") + std::string(key) + "=" + UrlEncode(value);
        };
        add("q", query.text.str());
        add("location", query.location ? std::to_string(query.location) : "");
        add("category", query.category ? std::to_string(query.category) : "");
        add("os", query.os.str());
        add("days", days);
        if (withSort && sortName != "name") add("sort", sortName);
        if (withSort && query.descending) add("dir", "desc");
        return text;
    }
};

// An optional identifier parameter: absent or empty is 0; anything but an identifier refuses.
bool IdParameter(const HttpRequest& http, const char* name, ULong& value, std::string& error) {
    const std::string text = http.Query(name);
    if (text.empty()) return true;
    const std::optional<ULong> id = ParseId(text);
    if (!id) {
        error = "Bad " + std::string(name) + ": " + text;
        return false;
    }
    value = *id;
    return true;
}

Selection ReadSelection(const HttpRequest& http) {
    Selection selection;
    const std::optional<std::string> text = ParseSearch(http);
    if (!text) {
        selection.error = "The search text is too long";
        return selection;
    }
    selection.query.text = text->c_str();
    const std::optional<std::string> os = ParseSearch(http, "os");
    if (!os) {
        selection.error = "The operating system is too long";
        return selection;
    }
    selection.query.os = os->c_str();
    if (!IdParameter(http, "location", selection.query.location, selection.error) ||
        !IdParameter(http, "category", selection.query.category, selection.error))
        return selection;
    selection.days = http.Query("days");
    if (!selection.days.empty()) {
        const std::optional<ULong> days = ParseId(selection.days);
        if (!days || *days > kMostDays) {
            selection.error = "Bad days: " + selection.days;
            return selection;
        }
        selection.query.auditedBefore =
            CTime(CTime::GetCurrentTime().GetTime() - static_cast<long long>(*days) * 86400);
    }
    const std::string sort = http.Query("sort", "name");
    bool known = false;
    for (const SortColumn& column : kSorts)
        if (sort == column.name) {
            selection.query.sort = column.sort;
            selection.sortName = column.name;
            known = true;
        }
    if (!known) {
        selection.error = "Bad sort: " + sort;
        return selection;
    }
    const std::string direction = http.Query("dir", "asc");
    if (direction != "asc" && direction != "desc") {
        selection.error = "Bad dir: " + direction;
        return selection;
    }
    selection.query.descending = direction == "desc";
    return selection;
}

// Category names of the rows, each distinct category read once.
std::map<ULong, std::string> CategoryNames(CNorvik& db, const CDynaList<CNorvik::AssetPageRow>& rows) {
    std::map<ULong, std::string> names;
    for (const auto& row : rows)
        if (row.category != 0 && !names.count(row.category))
            names[row.category] = db.GetCategoryName(row.category).str();
    return names;
}

std::string NameOr(const CString& text, const char* fallback) { return text.IsEmpty() ? fallback : text.str(); }

void WriteAssetRow(JsonWriter& json, const CNorvik::AssetPageRow& row, const std::string& category) {
    json.StartObject();
    JsonKeyNumber(json, "id", row.id);
    JsonKeyString(json, "name", row.name.str());
    JsonKeyString(json, "location", row.place.str());
    JsonKeyString(json, "category", category);
    JsonKeyString(json, "os", row.os.str());
    JsonKeyString(json, "serial", row.serial.str());
    JsonKeyString(json, "mac", row.mac.str());
    JsonKeyString(json, "ip", row.ip.str());
    JsonKeyTime(json, "lastAudit", row.lastAudit);
    json.EndObject();
}

// One CSV cell: quoted, quotes doubled, and a text a spreadsheet would take for a formula
// (starting with =, +, -, @, a tab or a carriage return) made plain text by a leading '.
std::string CsvCell(const std::string& text) {
    std::string cell = "\"";
    if (!text.empty() && std::string_view("=+-@\t\r").find(text[0]) != std::string_view::npos) cell += '\'';
    for (const char c : text) {
        if (c == '"') cell += '"';
        cell += c;
    }
    return cell + "\"";
}

HttpResponse AssetCsv(const ConsoleRequest& request, Selection& selection) {
    std::string csv = "Name,Location,Category,Operating System,Serial Number,MAC Address,IP Address,Last Audit\r\n";
    for (ULong offset = 0; offset < kCsvMostRows; offset += kCsvBatch) {
        CDynaList<CNorvik::AssetPageRow> rows;
        selection.query.offset = offset;
        selection.query.limit = kCsvBatch;
        const ULong total = request.db.assetEnumPage(selection.query, rows);
        const auto categories = CategoryNames(request.db, rows);
        for (const auto& row : rows) {
            const auto category = categories.find(row.category);
            const std::string cells[] = {row.name.str(),
                                         row.place.str(),
                                         category == categories.end() ? std::string() : category->second,
                                         row.os.str(),
                                         row.serial.str(),
                                         row.mac.str(),
                                         row.ip.str(),
                                         row.lastAudit.IsNever() ? std::string() : FormatTime(row.lastAudit)};
            for (std::size_t i = 0; i < std::size(cells); ++i) {
                if (i) csv += ',';
                csv += CsvCell(cells[i]);
            }
            csv += "\r\n";
        }
        if (offset + kCsvBatch >= total) break;
    }
    HttpResponse response;
    response.contentType = "text/csv; charset=utf-8";
    response.SetHeader("Content-Disposition", "attachment; filename=\"assets.csv\"");
    response.body = std::move(csv);
    return response;
}

mstch::array LocationOptions(CNorvik& db, ULong selected) {
    CDynaList<CNorvik::LocationTreeRow> locations;
    db.locEnumTree(locations);
    std::map<ULong, int> depth{{0, -1}};
    mstch::array options;
    for (const auto& row : locations) {
        const int level = depth[row.parent] + 1;
        depth[row.id] = level;
        // Non-breaking spaces indent the choice; they are text, escaped like any other.
        std::string label;
        for (int i = 0; i < level && i < 16; ++i) label += "\u00a0\u00a0";
        options.push_back(mstch::map{{"id", std::to_string(row.id)},
                                     {"label", label + NameOr(row.name, "(no name)")},
                                     {"selected", row.id == selected}});
    }
    return options;
}

// The catalogue's categories for the filter, by name; `selected` marked.
mstch::array CategoryOptions(CNorvik& db, ULong selected) {
    CSortList list;
    db.EnumCategories(list, 1);
    list.Sort();
    mstch::array options;
    for (const CSortItem& item : list)
        options.push_back(
            mstch::map{{"id", std::to_string(item.id)}, {"name", item.text.str()}, {"selected", item.id == selected}});
    return options;
}

HttpResponse AssetList(const ConsoleRequest& request) {
    Selection selection = ReadSelection(request.http);
    if (!selection.error.empty()) return ConsoleError(request, 400, selection.error);
    if (request.rest == ".csv") return AssetCsv(request, selection);
    const std::optional<ULong> page = ParsePage(request.http);
    if (!page) return ConsoleError(request, 400, "Bad page: " + request.http.Query("page"));
    Paging paging{*page, 0};
    selection.query.offset = paging.Offset();
    selection.query.limit = kConsolePageSize;
    CDynaList<CNorvik::AssetPageRow> rows;
    paging.total = request.db.assetEnumPage(selection.query, rows);
    if (paging.Beyond()) return ConsoleError(request, 404, "No page " + std::to_string(paging.page));
    const auto categories = CategoryNames(request.db, rows);
    const auto categoryOf = [&categories](ULong id) {
        const auto found = categories.find(id);
        return found == categories.end() ? std::string() : found->second;
    };

    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        WritePaging(json, paging);
        json.Key("assets");
        json.StartArray();
        for (const auto& row : rows) WriteAssetRow(json, row, categoryOf(row.category));
        json.EndArray();
        json.EndObject();
        return ConsoleJson(buffer);
    }

    mstch::array items;
    for (const auto& row : rows) {
        items.push_back(mstch::map{{"id", std::to_string(row.id)},
                                   {"name", NameOr(row.name, "(no name)")},
                                   {"location", row.place.str()},
                                   {"category", categoryOf(row.category)},
                                   {"categoryLink", "/assets?category=" + std::to_string(row.category)},
                                   {"hasCategory", row.category != 0},
                                   {"os", row.os.str()},
                                   {"osLink", "/assets?os=" + UrlEncode(row.os.str())},
                                   {"serial", row.serial.str()},
                                   {"mac", row.mac.str()},
                                   {"ip", row.ip.str()},
                                   {"audit", FormatTime(row.lastAudit)}});
    }
    mstch::map sortLinks;
    const std::string filters = selection.Parameters(false);
    for (const SortColumn& column : kSorts) {
        const bool current = selection.sortName == column.name;
        std::string link = "/assets?" + filters + (filters.empty() ? "" : "&") + "sort=" + column.name;
        if (current && !selection.query.descending) link += "&dir=desc";
        const char* mark = !current ? "" : selection.query.descending ? " \u25BC" : " \u25B2";
        sortLinks.emplace(column.name, mstch::map{{"link", link}, {"mark", std::string(mark)}});
    }
    mstch::array dayChoices;
    for (const char* days : {"30", "60", "90", "180", "365"})
        dayChoices.push_back(mstch::map{{"days", std::string(days)}, {"selected", selection.days == days}});
    const std::string parameters = selection.Parameters(true);
    mstch::map context{{"assets", items},
                       {"any", !items.empty()},
                       {"q", selection.query.text.str()},
                       {"os", selection.query.os.str()},
                       {"categories", CategoryOptions(request.db, selection.query.category)},
                       {"locations", LocationOptions(request.db, selection.query.location)},
                       {"dayChoices", dayChoices},
                       {"sort", sortLinks},
                       {"csv", "/assets.csv" + (parameters.empty() ? "" : "?" + parameters)},
                       {"paging", PagingContext(paging, "/assets", parameters)},
                       {"filtered", !selection.Parameters(false).empty()},
                       {"agentUrl", request.settings.agentUrl}};
    return ConsolePage(request, "Assets", "assets", context);
}

// ---- One asset ----

struct HardwareGroup {
    std::string path;
    std::vector<std::pair<std::string, std::string>> values;
};

std::vector<HardwareGroup> Hardware(CNorvik& db, ULong asset) {
    CHwList list;
    db.hwEnumAll(asset, list, 0);
    std::vector<HardwareGroup> groups;
    std::map<std::string, std::size_t> index;
    for (const CHwItem& item : list) {
        std::string path = item.path.str();
        for (auto& c : path)
            if (c == '|') c = '>';
        auto found = index.find(path);
        if (found == index.end()) {
            found = index.emplace(path, groups.size()).first;
            groups.push_back(HardwareGroup{path, {}});
        }
        groups[found->second].values.emplace_back(item.key.str(), HwDisplayValue(item.flags, item.value).str());
    }
    return groups;
}

struct UserField {
    std::string key;
    std::string value;
};

// The asset's own user-defined fields (the built-in ones are shown with its identity).
std::vector<UserField> UserFields(CNorvik& db, ULong asset) {
    CSortList list;
    db.userDataEnum(0, asset, list, CNorvik::kUserDataAsset, 1);
    std::vector<UserField> fields;
    for (const CSortItem& item : list) {
        if (CNorvik::IsBuiltInField(item.text)) continue;
        fields.push_back(UserField{item.text.str(), db.userdataGetValue(item.id).str()});
    }
    return fields;
}

struct InternetDay {
    std::string day;
    ULong visits = 0;
};

std::vector<InternetDay> InternetDays(CNorvik& db, ULong asset) {
    CDynaList<CTime> dates;
    db.ieHistEnumDates(asset, dates);
    std::map<std::string, ULong> perDay;
    for (const CTime& date : dates) ++perDay[date.IsNever() ? std::string("undated") : FormatDay(date)];
    std::vector<InternetDay> days;
    for (auto it = perDay.rbegin(); it != perDay.rend(); ++it) days.push_back(InternetDay{it->first, it->second});
    return days;
}

std::vector<std::string> Notes(CNorvik& db, ULong asset) {
    const int table = CNorvik::tableAsset;
    CDynaList<ULong> ids;
    db.enumNotes(nullptr, &table, &asset, ids);
    std::vector<std::string> notes;
    for (const ULong id : ids) {
        CString text;
        if (db.notesGetDetails(id, nullptr, &text)) notes.push_back(text.str());
    }
    return notes;
}

HttpResponse AssetDetail(const ConsoleRequest& request) {
    const std::optional<ULong> id = ParseId(std::string_view(request.rest).substr(1));
    if (!id) return ConsoleError(request, 404, "No asset " + request.rest.substr(1));
    const std::optional<ULong> appPage = ParsePage(request.http);
    std::optional<ULong> historyPage = ParseId(request.http.Query("history", "1"));
    std::optional<ULong> filesPage = ParseId(request.http.Query("files", "1"));
    if (!filesPage || *filesPage > kConsoleMaxPage)
        return ConsoleError(request, 400, "Bad files page: " + request.http.Query("files"));
    if (!appPage) return ConsoleError(request, 400, "Bad page: " + request.http.Query("page"));
    if (!historyPage || *historyPage > kConsoleMaxPage)
        return ConsoleError(request, 400, "Bad history page: " + request.http.Query("history"));

    CNorvik& db = request.db;
    CNorvik::AssetPageQuery query;
    query.asset = *id;
    query.limit = 1;
    CDynaList<CNorvik::AssetPageRow> found;
    if (db.assetEnumPage(query, found) == 0 || found.GetCount() == 0)
        return ConsoleError(request, 404, "No asset " + std::to_string(*id));
    const CNorvik::AssetPageRow& asset = found[0];
    const std::string category = asset.category ? db.GetCategoryName(asset.category).str() : std::string();
    int icon = 0;
    db.GetAssetIcon(*id, &icon, nullptr);
    const std::string kind = db.GetIconName(icon).str();
    int parentIsLocation = 0;
    const ULong parent = db.GetAssetParent(*id, parentIsLocation);
    const std::string place = parentIsLocation ? db.locGetFullName(parent, '/').str() : asset.place.str();

    Paging apps{*appPage, 0};
    CDynaList<CNorvik::ApplicationPageRow> applications;
    apps.total = db.applicationEnumPage("", *id, apps.Offset(), kConsolePageSize, applications);
    if (apps.Beyond()) return ConsoleError(request, 404, "No page " + std::to_string(apps.page));
    Paging history{*historyPage, 0};
    CDynaList<CNorvik::HistoryPageRow> changes;
    history.total = db.historyEnumPage(*id, CTime(), -1, history.Offset(), kConsolePageSize, changes);
    if (history.Beyond()) return ConsoleError(request, 404, "No history page " + std::to_string(history.page));
    Paging files{*filesPage, 0};
    CDynaList<CNorvik::SoftwareFilePageRow> fileRows;
    files.total = db.swFileEnumPage(*id, files.Offset(), kConsolePageSize, fileRows);
    if (files.Beyond()) return ConsoleError(request, 404, "No files page " + std::to_string(files.page));
    const auto hardware = Hardware(db, *id);
    // The agent's device id, which the importer keeps as a hardware item.
    std::string deviceId;
    for (const auto& group : hardware)
        if (group.path == kSystemCategory)
            for (const auto& [key, value] : group.values)
                if (key == kDeviceIdKey) deviceId = value;
    const auto fields = UserFields(db, *id);
    const auto internet = InternetDays(db, *id);
    const auto notes = Notes(db, *id);

    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        JsonKeyNumber(json, "id", *id);
        JsonKeyString(json, "name", asset.name.str());
        JsonKeyString(json, "location", place);
        JsonKeyString(json, "kind", kind);
        JsonKeyString(json, "category", category);
        JsonKeyString(json, "os", asset.os.str());
        JsonKeyString(json, "serial", asset.serial.str());
        JsonKeyString(json, "mac", asset.mac.str());
        JsonKeyString(json, "ip", asset.ip.str());
        JsonKeyTime(json, "lastAudit", asset.lastAudit);
        JsonKeyString(json, "deviceId", deviceId);
        json.Key("fields");
        json.StartObject();
        for (const auto& field : fields) JsonKeyString(json, ValidUtf8(field.key).c_str(), field.value);
        json.EndObject();
        json.Key("hardware");
        json.StartArray();
        for (const auto& group : hardware) {
            json.StartObject();
            JsonKeyString(json, "path", group.path);
            json.Key("values");
            json.StartArray();
            for (const auto& [key, value] : group.values) {
                json.StartObject();
                JsonKeyString(json, "key", key);
                JsonKeyString(json, "value", value);
                json.EndObject();
            }
            json.EndArray();
            json.EndObject();
        }
        json.EndArray();
        json.Key("applications");
        json.StartObject();
        WritePaging(json, apps);
        json.Key("rows");
        json.StartArray();
        for (const auto& app : applications) {
            json.StartObject();
            JsonKeyNumber(json, "id", app.id);
            JsonKeyString(json, "publisher", app.publisher.str());
            JsonKeyString(json, "name", app.name.str());
            JsonKeyString(json, "version", app.version.str());
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        json.Key("history");
        json.StartObject();
        WritePaging(json, history);
        json.Key("rows");
        json.StartArray();
        for (const auto& change : changes) {
            json.StartObject();
            JsonKeyTime(json, "date", change.date);
            JsonKeyString(json, "kind", change.category.str());
            JsonKeyString(json, "text", change.text.str());
            JsonKeyString(json, "user", change.user.str());
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        json.Key("files");
        json.StartObject();
        WritePaging(json, files);
        json.Key("rows");
        json.StartArray();
        for (const auto& file : fileRows) {
            json.StartObject();
            JsonKeyString(json, "folder", file.folderPath.str());
            JsonKeyString(json, "name", file.name.str());
            JsonKeyNumber(json, "size", file.size);
            JsonKeyString(json, "date", PackedFileDateText(file.date));
            JsonKeyNumber(json, "app", file.app);
            JsonKeyString(json, "application", file.application.str());
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        json.Key("internet");
        json.StartArray();
        for (const auto& day : internet) {
            json.StartObject();
            JsonKeyString(json, "day", day.day);
            JsonKeyNumber(json, "sites", day.visits);
            json.EndObject();
        }
        json.EndArray();
        json.Key("notes");
        json.StartArray();
        for (const auto& note : notes) JsonString(json, note);
        json.EndArray();
        json.EndObject();
        return ConsoleJson(buffer);
    }

    const std::string self = "/assets/" + std::to_string(*id);
    mstch::array fieldItems, hardwareItems, appItems, historyItems, internetItems, noteItems;
    for (const auto& field : fields) fieldItems.push_back(mstch::map{{"key", field.key}, {"value", field.value}});
    for (const auto& group : hardware) {
        mstch::array values;
        for (const auto& [key, value] : group.values) values.push_back(mstch::map{{"key", key}, {"value", value}});
        hardwareItems.push_back(mstch::map{{"path", group.path}, {"values", values}});
    }
    for (const auto& app : applications)
        appItems.push_back(mstch::map{{"id", std::to_string(app.id)},
                                      {"publisher", app.publisher.str()},
                                      {"name", NameOr(app.name, "(no name)")},
                                      {"version", app.version.str()}});
    for (const auto& change : changes)
        historyItems.push_back(mstch::map{{"date", FormatTime(change.date)},
                                          {"kind", change.category.str()},
                                          {"text", change.text.str()},
                                          {"user", change.user.str()}});
    for (const auto& day : internet)
        internetItems.push_back(mstch::map{{"day", day.day}, {"sites", FormatCount(day.visits)}});
    for (const auto& note : notes) noteItems.push_back(mstch::map{{"text", note}});
    mstch::array fileItems;
    for (const auto& file : fileRows)
        fileItems.push_back(mstch::map{{"folder", file.folderPath.str()},
                                       {"name", file.name.str()},
                                       {"size", FormatCount(file.size)},
                                       {"date", PackedFileDateText(file.date)},
                                       {"app", file.app ? std::to_string(file.app) : std::string()},
                                       {"application", file.application.str()}});
    // Each pager's links keep the other two pagers where they are.
    const auto at = [&self](ULong appPageNumber, ULong historyPageNumber, ULong filesPageNumber) {
        return self + "?page=" + std::to_string(appPageNumber) + "&history=" + std::to_string(historyPageNumber) +
               "&files=" + std::to_string(filesPageNumber);
    };
    const auto pager = [](const Paging& paging, const std::function<std::string(ULong)>& link) {
        mstch::map context = PagingContext(paging, "", "");
        context.erase("previous");
        context.erase("next");
        if (paging.page > 1) context.emplace("previous", link(paging.page - 1));
        if (paging.page < paging.Pages()) context.emplace("next", link(paging.page + 1));
        return context;
    };
    const mstch::map appPaging = pager(apps, [&](ULong n) { return at(n, history.page, files.page); });
    const mstch::map historyPaging = pager(history, [&](ULong n) { return at(apps.page, n, files.page); });
    const mstch::map filesPaging = pager(files, [&](ULong n) { return at(apps.page, history.page, n); });
    mstch::map context{{"id", std::to_string(*id)},
                       {"name", NameOr(asset.name, "(no name)")},
                       {"location", place},
                       {"kind", kind},
                       {"category", category},
                       {"os", asset.os.str()},
                       {"serial", asset.serial.str()},
                       {"mac", asset.mac.str()},
                       {"ip", asset.ip.str()},
                       {"audit", FormatTime(asset.lastAudit)},
                       {"deviceId", deviceId},
                       {"fields", fieldItems},
                       {"anyFields", !fieldItems.empty()},
                       {"hardware", hardwareItems},
                       {"anyHardware", !hardwareItems.empty()},
                       {"applications", appItems},
                       {"anyApplications", !appItems.empty()},
                       {"appPaging", appPaging},
                       {"history", historyItems},
                       {"anyHistory", !historyItems.empty()},
                       {"historyPaging", historyPaging},
                       {"files", fileItems},
                       {"anyFiles", !fileItems.empty()},
                       {"filesPaging", filesPaging},
                       {"internet", internetItems},
                       {"anyInternet", !internetItems.empty()},
                       {"notes", noteItems},
                       {"anyNotes", !noteItems.empty()}};
    return ConsolePage(request, NameOr(asset.name, "(no name)"), "asset", context);
}

}  // namespace

HttpResponse AssetsPage(const ConsoleRequest& request) {
    if (request.rest.empty() || request.rest == ".csv") {
        if (request.api && request.rest == ".csv") return ConsoleError(request, 404, "Not found");
        return AssetList(request);
    }
    return AssetDetail(request);
}
