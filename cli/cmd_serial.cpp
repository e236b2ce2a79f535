// norvik serial: the registry places where the auditor reads applications' serial numbers.
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/resolve_location.h"
#include "cli/words.h"
#include "import/identifiers.h"

namespace cli {

namespace {

const char kSerialHelp[] =
    "usage: norvik serial list [--json]\n"
    "       norvik serial add APP KEY ITEM\n"
    "       norvik serial delete ID\n"
    "The places where an audit reads an application's serial number: the registry key KEY and\n"
    "the value ITEM within it, for the application named APP.\n"
    "  list     every place, with its id\n"
    "  add      records a place and prints its id\n"
    "  delete   forgets the place with this id\n";

int SerialList(CNorvikSql& db, bool json) {
    CDynaList<ULong> ids;
    db.EnumSSRecs(ids, 0);
    Listing listing(json, {"Id", "Application", "Key", "Item"});
    for (ULong id : ids) {
        const std::string app = db.GetSSAppName(id).str(), key = db.GetSSRegKey(id).str();
        const std::string item = db.GetSSRegItem(id).str();
        listing.Add({std::to_string(id), app, key, item},
                    JsonObject().Number("id", id).Text("app", app).Text("key", key).Text("item", item));
    }
    listing.Print(std::cout, {0});
    return kExitOk;
}

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{}, {}, 0, 0}, "serial list [--json]"},
    {"add", {{}, {}, 3, 3}, "serial add APP KEY ITEM"},
    {"delete", {{}, {}, 1, 1}, "serial delete ID"},
};

}  // namespace

int RunSerial(Context& context) {
    if (context.PrintHelpIfAsked(kSerialHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("serial", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    if (sub == "add" && IsBlankName(p[0]))
        return UsageError("an application name may not be empty or made only of spaces");
    const ULong id = sub == "delete" ? IdFromDigits(p[0]) : 0;
    if (sub == "delete" && id == 0) return UsageError("not a record id: " + p[0]);

    const Access access = sub == "list" ? Access::kRead : Access::kWrite;

    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch&) {
        if (sub == "list") return SerialList(db, context.options.json);
        if (sub == "add") {
            const ULong added = db.AddSSRec(p[0].c_str(), p[1].c_str(), p[2].c_str());
            if (added == 0) return kExitFailed;
            std::cout << added << '\n';
            return kExitOk;
        }
        try {
            if (!RowExists(db, "SWSERIAL", id)) return Fail("no serial-number place " + p[0]);
        } catch (const CDBException& e) {
            return Fail("cannot read the serial-number places: " + e.m_strError.str());
        }
        db.DeleteSSRec(id);
        return kExitOk;
    });
}

}  // namespace cli
