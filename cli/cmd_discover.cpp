// norvik discover: the computers found on the network, and their merge into the inventory.
#include <iostream>
#include <string>

#include "cli/cli_context.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik discover list [--unaudited] [--json]\n"
    "       norvik discover add NAME [--domain D] [--ip A]\n"
    "       norvik discover delete ID|all\n"
    "       norvik discover merge\n"
    "The computers that network discovery found, by name, domain (or workgroup) and address.\n"
    "  list    every entry; --unaudited: those that no asset of the same name stands for\n"
    "  add     records a computer unless an entry of that name already matches: domains match\n"
    "          when equal or when either is empty, addresses when equal or when either is\n"
    "          unknown. Prints the entry's id.\n"
    "  delete  one entry, or every entry\n"
    "  merge   makes an asset of every unaudited entry, in the location whose address ranges\n"
    "          hold its address, else in \"Discovered Assets;DOMAIN\" (made when missing), and\n"
    "          prints how many were made\n";

int List(Context& context, CNorvikSql& db, bool unaudited) {
    const MessageWatch watch(db, context.options);
    CDynaList<ULong> entries;
    db.daEnum(entries, unaudited ? 1 : 0);
    TextTable table({"Id", "Name", "Domain", "Address"});
    if (context.options.json) std::cout << "[";
    const char* separator = "";
    for (const ULong id : entries) {
        const std::string name = db.daGetName(id).str(), domain = db.daGetDomain(id).str();
        const std::string address = db.daGetIPAddress(id).GetAsText().str();
        if (context.options.json) {
            std::cout << separator << "{\"id\": " << id << ", \"name\": " << JsonText(name)
                      << ", \"domain\": " << JsonText(domain) << ", \"address\": " << JsonText(address) << "}";
            separator = ", ";
        } else {
            table.AddRow({std::to_string(id), name, domain, address});
        }
    }
    if (watch.Shown()) return kExitFailed;
    if (context.options.json) {
        std::cout << "]\n";
    } else {
        table.Print(std::cout, {0});
    }
    return kExitOk;
}

}  // namespace

int RunDiscover(Context& context) {
    const auto& args = context.args;
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    const std::string sub = args.empty() ? "" : args[0];
    Words words;
    bool ok = true;
    if (sub == "list") {
        ok = SplitSubCommandWords(args, {{"--unaudited"}, {}, 0, 0}, "discover list [--unaudited] [--json]", &words);
    } else if (sub == "add") {
        ok = SplitSubCommandWords(args, {{}, {"--domain", "--ip"}, 1, 1}, "discover add NAME [--domain D] [--ip A]",
                                  &words);
    } else if (sub == "delete") {
        ok = SplitSubCommandWords(args, {{}, {}, 1, 1}, "discover delete ID|all", &words);
    } else if (sub == "merge") {
        ok = SplitSubCommandWords(args, {{}, {}, 0, 0}, "discover merge", &words);
    } else {
        return UsageError((sub.empty() ? std::string("discover needs a command") : "unknown discover command " + sub) +
                          " (see norvik discover --help)");
    }
    if (!ok) return kExitUsage;
    CIPAddress ip;
    if (sub == "add") {
        if (words.positional[0].empty()) return UsageError("a computer name may not be empty");
        if (words.Has("--ip") && !ParseAddress(words.Value("--ip"), &ip))
            return UsageError("not a dotted IPv4 address: " + words.Value("--ip"));
    }
    ULong entry = 0;
    if (sub == "delete" && words.positional[0] != "all") {
        if (!ParseId(words.positional[0], &entry))
            return UsageError("an entry is named by its id or by the word all: " + words.positional[0]);
    }
    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    if (sub == "list") return List(context, *db, words.Has("--unaudited"));
    const MessageWatch watch(*db, context.options);
    if (sub == "add") {
        const ULong id = db->daAdd(words.positional[0].c_str(), words.Value("--domain").c_str(), ip);
        if (id == 0) return kExitFailed;
        std::cout << id << '\n';
        return kExitOk;
    }
    if (sub == "delete") {
        if (entry != 0) {
            CDynaList<ULong> all;
            db->daEnum(all, 0);
            bool exists = false;
            for (const ULong id : all) exists = exists || id == entry;
            if (watch.Shown()) return kExitFailed;
            if (!exists) return Fail("no discovered computer with id " + std::to_string(entry));
        }
        return db->daDelete(entry) && !watch.Shown() ? kExitOk : kExitFailed;
    }
    const ULong merged = db->daMerge();
    if (watch.Shown()) return kExitFailed;
    if (context.options.json) {
        std::cout << "{\"merged\": " << merged << "}\n";
    } else {
        std::cout << "Merged " << merged << (merged == 1 ? " computer" : " computers") << " into the inventory\n";
    }
    return kExitOk;
}

}  // namespace cli
