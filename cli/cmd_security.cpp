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
    "Add users (norvik user add, norvik user password) before switching it on: it is refused\n"
    "while no user has a password, as no one could then log on to the console.\n"
    "What it protects is the console. It does not protect the database: this tool, like any\n"
    "program that can open the database, reads and changes it (users, options, this switch\n"
    "too) without a log-on. The database is protected by file permissions (the SQLite file\n"
    "and its folder) and by database roles and grants (PostgreSQL).\n"
    "  on      switches console log-on on for the whole site\n"
    "  off     switches it off\n"
    "  status  tells whether it is on\n";

const std::vector<SubCommandSpec> kSubCommands = {
    {"on", {{}, {}, 0, 0}, "security on"},
    {"off", {{}, {}, 0, 0}, "security off"},
    {"status", {{}, {}, 0, 0}, "security status [--json]"},
};

// Whether some console user could log on: one of them has a password.
bool SomeUserHasAPassword(CNorvikSql& db) {
    CDynaList<ULong> users;
    db.EnumUsers(users, -1);
    for (const ULong user : users)
        if (!db.userGetPassword(user).IsEmpty()) return true;
    return false;
}

}  // namespace

int RunSecurity(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("security", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const Access access = sub == "status" ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "on" && !SomeUserHasAPassword(db))
            return watch.Shown() ? kExitFailed
                                 : Fail(
                                       "no user has a password, so no one could log on to the console; "
                                       "give one a password first (norvik user password NAME)");
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
