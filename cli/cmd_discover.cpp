// norvik discover: the computers found on the network, and their merge into the inventory.
#include <iostream>
#include <string>

#include "cli/cli_context.h"
#include "cli/words.h"
#include "import/identifiers.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik discover list [--unaudited] [--json]\n"
    "       norvik discover add NAME [--domain D] [--ip A]\n"
    "       norvik discover delete ID|all\n"
    "       norvik discover merge [--json]\n"
    "The computers that network discovery found, by name, domain (or workgroup) and address.\n"
    "  list    every entry; --unaudited: those that no asset of the same name stands for\n"
    "  add     records a computer unless an entry of that name already matches: domains match\n"
    "          when equal or when either is empty, addresses when equal or when either is\n"
    "          unknown. Prints the entry's id.\n"
    "  delete  one entry, or every entry\n"
    "  merge   makes an asset of every unaudited entry, in the location whose address ranges\n"
    "          hold its address, else in \"Discovered Assets;DOMAIN\" (made when missing), and\n"
    "          prints how many were made\n";

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{"--unaudited"}, {}, 0, 0}, "discover list [--unaudited] [--json]"},
    {"add", {{}, {"--domain", "--ip"}, 1, 1}, "discover add NAME [--domain D] [--ip A]"},
    {"delete", {{}, {}, 1, 1}, "discover delete ID|all"},
    {"merge", {{}, {}, 0, 0}, "discover merge [--json]"},
};

int List(CNorvikSql& db, const MessageWatch& watch, bool unaudited, bool json) {
    CDynaList<ULong> entries;
    db.daEnum(entries, unaudited ? 1 : 0);
    Listing listing(json, {"Id", "Name", "Domain", "Address"});
    for (const ULong id : entries) {
        const std::string name = db.daGetName(id).str(), domain = db.daGetDomain(id).str();
        const std::string address = db.daGetIPAddress(id).GetAsText().str();
        listing.Add({std::to_string(id), name, domain, address},
                    JsonObject().Number("id", id).Text("name", name).Text("domain", domain).Text("address", address));
    }
    if (watch.Shown()) return kExitFailed;
    listing.Print(std::cout, {0});
    return kExitOk;
}

// Whether discovery recorded the entry `entry`.
bool EntryExists(CNorvikSql& db, ULong entry) {
    CDynaList<ULong> all;
    db.daEnum(all, 0);
    for (const ULong id : all)
        if (id == entry) return true;
    return false;
}

}  // namespace

int RunDiscover(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("discover", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    CIPAddress ip;
    if (sub == "add") {
        if (IsBlankName(p[0])) return UsageError("a computer name may not be empty or made only of spaces");
        if (words.Has("--ip") && !ParseAddress(words.Value("--ip"), &ip))
            return UsageError("not a dotted IPv4 address: " + words.Value("--ip"));
    }
    ULong entry = 0;  // 0: every entry
    if (sub == "delete" && p[0] != "all" && !ParseId(p[0], &entry))
        return UsageError("an entry is named by its id or by the word all: " + p[0]);

    const Access access = sub == "list" ? Access::kRead : Access::kWrite;

    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "list") return List(db, watch, words.Has("--unaudited"), context.options.json);
        if (sub == "add") {
            const ULong id = db.daAdd(p[0].c_str(), words.Value("--domain").c_str(), ip);
            if (id == 0) return kExitFailed;
            std::cout << id << '\n';
            return kExitOk;
        }
        if (sub == "delete") {
            if (entry != 0 && !EntryExists(db, entry))
                return watch.Shown() ? kExitFailed : Fail("no discovered computer with id " + std::to_string(entry));
            return db.daDelete(entry) ? kExitOk : kExitFailed;
        }
        const ULong merged = db.daMerge();
        if (watch.Shown()) return kExitFailed;
        if (context.options.json)
            std::cout << JsonObject().Number("merged", merged).str() << '\n';
        else
            std::cout << "Merged " << merged << (merged == 1 ? " computer" : " computers") << " into the inventory\n";
        return kExitOk;
    });
}

}  // namespace cli
