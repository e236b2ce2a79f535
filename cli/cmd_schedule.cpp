// norvik schedule: the assets due for audit under the site's audit interval.
#include <iostream>

#include "cli/cli_context.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik schedule [--json]\n"
    "Lists the assets due for audit: never audited, or last audited longer ago than the\n"
    "site's audit interval (option AuditInterval, in days; 30 when unset). Child assets and\n"
    "assets marked as out of the inventory are never due.\n";

}  // namespace

int RunSchedule(Context& context) {
    if (const int code = HelpForVerbWithoutWords(context, kHelp); code >= 0) return code;
    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const int interval = db->GetAuditInterval();
    CDynaList<ULong> due;
    db->EnumScheduledAssets(due, CTime());
    TextTable table({"Id", "Asset", "Location", "Last audit"});
    if (context.options.json) std::cout << "{\"intervalDays\": " << interval << ", \"due\": [";
    const char* separator = "";
    for (const ULong asset : due) {
        const std::string name = db->GetAssetName(asset).str();
        const std::string audited = IsoDateTime(db->GetLastAuditDate(asset));
        int isLocation = 1;
        const ULong parent = db->GetAssetParent(asset, isLocation);
        const std::string place = parent ? db->locGetFullName(parent, ';').str() : "";
        if (context.options.json) {
            std::cout << separator << "{\"id\": " << asset << ", \"name\": " << JsonText(name)
                      << ", \"location\": " << JsonText(place) << ", \"lastAudit\": " << JsonText(audited) << "}";
            separator = ", ";
        } else {
            table.AddRow({std::to_string(asset), name, place, audited.empty() ? "never" : audited});
        }
    }
    if (watch.Shown()) return kExitFailed;
    if (context.options.json) {
        std::cout << "]}\n";
    } else {
        std::cout << "Audit interval: " << interval << " days\n";
        table.Print(std::cout, {0});
    }
    return kExitOk;
}

}  // namespace cli
