// norvik security: the site-wide switch that makes the console ask its users to log on.
#include <iostream>

#include "cli/cli_context.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik security on\n"
    "       norvik security off\n"
    "       norvik security status [--json]\n"
    "The site-wide switch that makes the console ask its users to log on.\n"
    "Add users (norvik user add, norvik user password) before switching it on.\n"
    "  on      switches console log-on on for the whole site\n"
    "  off     switches it off\n"
    "  status  tells whether it is on\n";

const std::vector<SubCommandSpec> kSubCommands = {
    {"on", {{}, {}, 0, 0}, "security on"},
    {"off", {{}, {}, 0, 0}, "security off"},
    {"status", {{}, {}, 0, 0}, "security status [--json]"},
};

}  // namespace

int RunSecurity(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("security", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    return WithDatabase(context, sub == "status" ? Access::kRead : Access::kWrite,
                        [&](CNorvikSql& db, const MessageWatch& watch) {
                            if (sub != "status") return db.EnableSecurity(sub == "on") ? kExitOk : kExitFailed;
                            const int enabled = db.IsSecurityEnabled();
                            if (watch.Shown()) return kExitFailed;
                            if (context.options.json)
                                std::cout << JsonObject().Flag("enabled", enabled != 0).str() << '\n';
                            else
                                std::cout << (enabled ? "on" : "off") << '\n';
                            return kExitOk;
                        });
}

}  // namespace cli
