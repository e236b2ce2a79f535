// norvik security: the site-wide switch that makes the console ask its users to log on.
#include <iostream>

#include "cli/cli_context.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik security on|off|status\n"
    "Switches console log-on on or off for the whole site, or tells whether it is on.\n"
    "Add users (norvik user add, norvik user password) before switching it on.\n";

}  // namespace

int RunSecurity(Context& context) {
    const auto& args = context.args;
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    if (args.size() != 1 || (args[0] != "on" && args[0] != "off" && args[0] != "status")) {
        std::cerr << kHelp;
        return kExitUsage;
    }
    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    if (args[0] != "status") return db->EnableSecurity(args[0] == "on") && !watch.Shown() ? kExitOk : kExitFailed;
    const int enabled = db->IsSecurityEnabled();
    if (watch.Shown()) return kExitFailed;
    if (context.options.json) {
        std::cout << "{\"enabled\": " << (enabled ? "true" : "false") << "}\n";
    } else {
        std::cout << (enabled ? "on" : "off") << '\n';
    }
    return kExitOk;
}

}  // namespace cli
