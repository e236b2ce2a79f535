// norvik schedule: the assets due for audit under the site's audit interval.
#include <iostream>

#include "cli/cli_context.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik schedule [--json]\n"
    "Lists the assets due for audit: never audited, or last audited longer ago than the\n"
    "site's audit interval (option AuditInterval, in days; 30 when unset). Child assets and\n"
    "assets marked as out of the inventory are never due.\n";

}  // namespace

int RunSchedule(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec bare = {"", {{}, {}, 0, 0}, "schedule [--json]"};
    if (!PickSubCommand("schedule", context.args, {}, &words, &bare)) return kExitUsage;
    return WithDatabase(context, Access::kRead, [&](CNorvikSql& db, const MessageWatch& watch) {
        const int interval = db.GetAuditInterval();
        CDynaList<ULong> due;
        db.EnumScheduledAssets(due, CTime());
        Listing listing(context.options.json, {"Id", "Asset", "Location", "Last audit"});
        for (const ULong asset : due) {
            const std::string name = db.GetAssetName(asset).str();
            const std::string audited = IsoDateTime(db.GetLastAuditDate(asset));
            int isLocation = 1;
            const ULong parent = db.GetAssetParent(asset, isLocation);
            const std::string place = parent ? db.locGetFullName(parent, ';').str() : "";
            listing.Add(
                {std::to_string(asset), name, place, audited.empty() ? "never" : audited},
                JsonObject().Number("id", asset).Text("name", name).Text("location", place).Text("lastAudit", audited));
        }
        if (watch.Shown()) return kExitFailed;
        if (context.options.json) {
            std::cout << JsonObject().Number("intervalDays", interval).Raw("due", listing.Json()).str() << '\n';
        } else {
            std::cout << "Audit interval: " << interval << " days\n";
            listing.Print(std::cout, {0});
        }
        return kExitOk;
    });
}

}  // namespace cli
