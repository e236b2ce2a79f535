// norvik web: the web sites an asset visited per day, searches over sites and cookie names,
// an asset's cookies, and the purge of old internet history.
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "cli/batch_progress.h"
#include "cli/cli_context.h"
#include "cli/resolve_asset.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik web ASSET [--date DAY] [--json]\n"
    "       norvik web search PATTERN [--asset ASSET] [--cookies] [--json]\n"
    "       norvik web cookies ASSET [--json]\n"
    "       norvik web purge --before DAY\n"
    "Shows the internet history the audits of an asset recorded: per day, every site with its\n"
    "page count (--date: one day only). ASSET is an id or an exact name; DAY is YYYY-MM-DD.\n"
    "  search   the history rows whose whole site matches PATTERN (\"?\" one character, \"*\" any\n"
    "           run; letter case counts) of every asset or of one; --cookies searches cookie names\n"
    "  cookies  the cookies found on the asset\n"
    "  purge    deletes the history and cookie rows dated before DAY (local midnight) and\n"
    "           prints how many went; in batches, each committed on its own\n";

struct Page {
    ULong id = 0;
    ULong asset = 0;
    CTime date;
    std::string site;
    ULong pages = 0;
};

Page ReadPage(CNorvikSql& db, ULong id) {
    Page page;
    page.id = id;
    // The interface has no getter for a row's asset; the search lists it, so read it here.
    try {
        page.asset = db.SelectNumber("IEHIST", "_ASSET", id);
    } catch (const CDBException& e) {
        db.HandleSqlException(e, nullptr);  // seen by the verb's message watch
    }
    page.date = db.ieHistGetDate(id);
    page.site = db.ieHistGetSite(id).str();
    page.pages = db.ieHistGetPageCount(id);
    return page;
}

void PrintPages(const std::vector<Page>& pages, bool json, bool withAsset) {
    std::vector<std::string> header = {"Day", "Pages", "Site"};
    if (withAsset) header.insert(header.begin(), "Asset");
    Listing listing(json, header);
    for (const Page& p : pages) {
        const std::string day = IsoDateTime(p.date).substr(0, 10);
        std::vector<std::string> row = {day, std::to_string(p.pages), p.site};
        if (withAsset) row.insert(row.begin(), std::to_string(p.asset));
        listing.Add(row, JsonObject()
                             .Number("id", p.id)
                             .Number("asset", p.asset)
                             .Text("date", day)
                             .Text("site", p.site)
                             .Number("pages", p.pages));
    }
    listing.Print(std::cout, withAsset ? std::vector<std::size_t>{0, 2} : std::vector<std::size_t>{1});
}

void PrintCookies(CNorvikSql& db, const CDynaList<ULong>& rows, bool json) {
    Listing listing(json, {"Id", "Date", "Name"});
    for (const ULong id : rows) {
        const std::string date = IsoDateTime(db.ieCookieGetDate(id));
        const std::string name = db.ieCookieGetName(id).str();
        listing.Add({std::to_string(id), date, name},
                    JsonObject().Number("id", id).Text("date", date).Text("name", name));
    }
    listing.Print(std::cout, {0});
}

const std::vector<SubCommandSpec> kSubCommands = {
    {"search", {{"--cookies"}, {"--asset"}, 1, 1}, "web search PATTERN [--asset ASSET] [--cookies] [--json]"},
    {"cookies", {{}, {}, 1, 1}, "web cookies ASSET [--json]"},
    {"purge", {{}, {"--before"}, 0, 0}, "web purge --before DAY"},
};
const SubCommandSpec kDays = {"", {{}, {"--date"}, 1, 1}, "web ASSET [--date DAY] [--json]"};

// `only`: the one day to show; null for every day.
int ShowDays(Context& context, CNorvikSql& db, const MessageWatch& watch, const Words& words, const CTime* only) {
    const Resolved asset = ResolveAsset(db, words.positional[0]);
    if (!asset.ok()) return Fail(asset);
    // Several stored dates may share a day; list each day once, oldest first.
    std::map<std::string, CTime> days;
    if (only) {
        days[IsoDateTime(*only).substr(0, 10)] = *only;
    } else {
        CDynaList<CTime> dates;
        db.ieHistEnumDates(asset.id, dates);
        for (const CTime date : dates) days.emplace(IsoDateTime(date).substr(0, 10), date);
    }
    std::vector<Page> pages;
    for (const auto& [day, date] : days) {
        CDynaList<ULong> rows;
        db.ieHistEnumSites(asset.id, date, rows);
        for (const ULong id : rows) pages.push_back(ReadPage(db, id));
    }
    if (watch.Shown()) return kExitFailed;
    PrintPages(pages, context.options.json, false);
    return kExitOk;
}

int Search(Context& context, CNorvikSql& db, const MessageWatch& watch, const Words& words) {
    ULong asset = 0;
    if (words.Has("--asset")) {
        const Resolved resolved = ResolveAsset(db, words.Value("--asset"));
        if (!resolved.ok()) return Fail(resolved);
        asset = resolved.id;
    }
    CDynaList<ULong> rows;
    const std::string& pattern = words.positional[0];
    if (words.Has("--cookies")) {
        db.ieCookieSearch(pattern.c_str(), asset, rows);
        if (watch.Shown()) return kExitFailed;
        PrintCookies(db, rows, context.options.json);
        return kExitOk;
    }
    db.ieHistSearch(pattern.c_str(), asset, rows);
    std::vector<Page> pages;
    for (const ULong id : rows) pages.push_back(ReadPage(db, id));
    if (watch.Shown()) return kExitFailed;
    PrintPages(pages, context.options.json, true);
    return kExitOk;
}

int Purge(Context& context, CNorvikSql& db, const MessageWatch& watch, CTime before) {
    // In batches rather than a statement per listed row: a year of a large site's history is
    // millions of rows, and each batch commits on its own.
    ULong pagesGone = 0, cookiesGone = 0;
    {
        const BatchProgress progress(db, "Purging internet history");
        db.iePurgeInBatches(before, 0, &pagesGone, &cookiesGone);
    }
    if (watch.Shown()) return kExitFailed;
    const std::string day = IsoDateTime(before).substr(0, 10);
    if (context.options.json) {
        std::cout << JsonObject().Text("before", day).Number("history", pagesGone).Number("cookies", cookiesGone).str()
                  << '\n';
    } else {
        std::cout << "Purged " << pagesGone << " history rows and " << cookiesGone << " cookies dated before " << day
                  << '\n';
    }
    return kExitOk;
}

}  // namespace

int RunWeb(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("web", context.args, kSubCommands, &words, &kDays);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    if (sub == "purge" && !words.Has("--before"))
        return UsageError("web purge needs --before DAY (see norvik web --help)");
    const char* dayOption = sub == "purge" ? "--before" : "--date";
    CTime day;
    if (words.Has(dayOption)) {
        if (const std::string problem = DayProblem(words.Value(dayOption), &day); !problem.empty())
            return UsageError(problem);
    }
    const Access access = sub == "purge" ? Access::kWrite : Access::kRead;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "search") return Search(context, db, watch, words);
        if (sub == "purge") return Purge(context, db, watch, day);
        if (sub.empty()) return ShowDays(context, db, watch, words, words.Has("--date") ? &day : nullptr);
        const Resolved asset = ResolveAsset(db, words.positional[0]);
        if (!asset.ok()) return Fail(asset);
        CDynaList<ULong> rows;
        db.ieCookieEnum(asset.id, rows);
        if (watch.Shown()) return kExitFailed;
        PrintCookies(db, rows, context.options.json);
        return kExitOk;
    });
}

}  // namespace cli
