// norvik history: an asset's change history as text, and the purge of old history.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cli/batch_progress.h"
#include "cli/cli_context.h"
#include "cli/resolve_asset.h"
#include "sql/sql_recordset.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik history ASSET [--details]\n"
    "       norvik history purge --before DATE\n"
    "Shows the changes recorded for an asset, oldest first, one line each: the date, then\n"
    "what changed. --details adds the item's key, both values and the user; --json prints\n"
    "every field. ASSET is an asset's id or its exact name.\n"
    "\n"
    "purge deletes the history of every asset dated before DATE (YYYY-MM-DD or YYYYMMDD,\n"
    "local midnight), with the events tied to it, and prints how many rows went. Initial\n"
    "audits are always kept. The rows go in batches, each committed on its own.\n";

const char kPurgeHelp[] =
    "usage: norvik history purge --before DATE\n"
    "Deletes the history of every asset dated before DATE (YYYY-MM-DD or YYYYMMDD, local\n"
    "midnight), with the events tied to the deleted rows, and prints how many rows went.\n"
    "Initial audits are kept whatever their date. The rows go in batches of a few thousand,\n"
    "each committed on its own, so audits arriving meanwhile are not held up; an interrupted\n"
    "purge keeps the batches it finished. On a terminal the progress is shown on stderr.\n";

int Usage(const char* help, const std::string& problem) {
    if (!problem.empty()) PrintError(problem);
    std::cerr << help;
    return kExitUsage;
}

struct Change {
    ULong id = 0;
    CTime date;
    CString text, operation, category, key, value1, value2, user;
    int kind = 0;
};

// The asset's rows, oldest first and in the order they were written within one date.
std::vector<Change> ReadHistory(CNorvikSql& db, ULong asset) {
    CDynaList<CTime> dates;
    db.assetEnumHistoryDates(asset, dates);
    std::vector<CTime> distinct(dates.begin(), dates.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    std::vector<Change> changes;
    for (const CTime date : distinct) {
        CDynaList<ULong> ids;
        db.EnumAssetHistoryRecords(asset, date, ids, 0);
        std::vector<ULong> ordered(ids.begin(), ids.end());
        std::sort(ordered.begin(), ordered.end());
        for (const ULong id : ordered) {
            Change change;
            change.id = id;
            change.date = date;
            change.text = db.historyFormatRecord(id);
            ULong owner = 0;
            CString shownDate;
            db.historyGetDetails(id, &owner, &change.kind, change.operation, change.category, change.key, change.user,
                                 change.value1, change.value2, shownDate);
            changes.push_back(change);
        }
    }
    return changes;
}

int ShowHistory(Context& context, const std::string& word, bool details) {
    CNorvikSql* db = context.OpenDatabaseToRead();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const Resolved resolved = ResolveAsset(*db, word);
    if (!resolved.ok()) return Fail(resolved);
    const ULong asset = resolved.id;
    const std::vector<Change> changes = ReadHistory(*db, asset);
    if (watch.Shown()) return kExitFailed;

    if (context.options.json) {
        std::cout << "{\"asset\": " << asset << ", \"history\": [";
        const char* separator = "";
        for (const auto& c : changes) {
            std::cout << separator << "{\"id\": " << c.id << ", \"date\": " << JsonText(IsoDateTime(c.date))
                      << ", \"text\": " << JsonText(c.text.str()) << ", \"operation\": " << JsonText(c.operation.str())
                      << ", \"category\": " << JsonText(c.category.str()) << ", \"kind\": " << c.kind
                      << ", \"key\": " << JsonText(c.key.str()) << ", \"value1\": " << JsonText(c.value1.str())
                      << ", \"value2\": " << JsonText(c.value2.str()) << ", \"user\": " << JsonText(c.user.str())
                      << "}";
            separator = ", ";
        }
        std::cout << "]}\n";
        return kExitOk;
    }
    if (!details) {
        for (const auto& c : changes) std::cout << IsoDateTime(c.date) << "  " << TerminalText(c.text.str()) << '\n';
        return kExitOk;
    }
    TextTable table({"Date", "Change", "Key", "Value 1", "Value 2", "User"});
    for (const auto& c : changes)
        table.AddRow({IsoDateTime(c.date), c.text.str(), c.key.str(), c.value1.str(), c.value2.str(), c.user.str()});
    table.Print(std::cout);
    return kExitOk;
}

int PurgeHistory(Context& context) {
    const auto& args = context.args;
    if (args.size() != 3 || args[1] != "--before") return Usage(kPurgeHelp, "");
    CTime before;
    if (const std::string problem = DayProblem(args[2], &before); !problem.empty()) return Usage(kPurgeHelp, problem);
    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    // A purge that removed nothing looks like one that failed, but for the message shown.
    const MessageWatch watch(*db, context.options);
    // Every asset, initial audits kept, no audits kept beyond the date rule: what a purge
    // list would hold, with the events of the deleted rows. In batches, each committed on its
    // own, so the agents writing history meanwhile wait for one batch at most.
    ULong removed = 0;
    {
        const BatchProgress progress(*db, "Purging history");
        removed = db->historyPurgeInBatches(before, 1, 0, 0);
    }
    if (watch.Shown()) return kExitFailed;
    const std::string day = IsoDateTime(before).substr(0, 10);
    if (context.options.json) {
        std::cout << "{\"before\": " << JsonText(day) << ", \"removed\": " << removed << "}\n";
    } else {
        std::cout << "Purged " << removed << (removed == 1 ? " history row" : " history rows") << " dated before "
                  << day << '\n';
    }
    return kExitOk;
}

}  // namespace

int RunHistory(Context& context) {
    const auto& args = context.args;
    const bool purge = !args.empty() && args[0] == "purge";
    if (context.PrintHelpIfAsked(purge ? kPurgeHelp : kHelp)) return kExitOk;
    if (purge) return PurgeHistory(context);
    std::vector<std::string> assets;
    bool details = false;
    for (const auto& word : args) {
        if (word == "--details") {
            details = true;
        } else if (word.rfind("--", 0) == 0) {
            return Usage(kHelp, "unknown option " + word);
        } else {
            assets.push_back(word);
        }
    }
    if (assets.size() > 1) return Usage(kHelp, "one asset at a time: " + assets[1]);
    if (assets.empty() || assets[0].empty()) return Usage(kHelp, "");
    const std::string& asset = assets[0];
    return ShowHistory(context, asset, details);
}

}  // namespace cli
