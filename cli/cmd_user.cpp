// norvik user: the console users, their levels, places and profiles, and their passwords,
// which are read from the terminal (without echo) or from standard input, never from the
// command line.
#include <unistd.h>

#include <iostream>
#include <string>

#include "cli/cli_context.h"
#include "cli/resolve_location.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik user list [--level N] [--json]\n"
    "       norvik user add NAME [--level N]\n"
    "       norvik user delete NAME\n"
    "       norvik user set NAME [--level N] [--location L] [--profile P] [--first F] [--last L]\n"
    "       norvik user password NAME\n"
    "       norvik user check NAME\n"
    "The users who may log on to the console once security is on (norvik security).\n"
    "  list      every user, or those of level N\n"
    "  add       a new user (default level 0); prints the new id\n"
    "  set       changes what is given; --location takes a location id or path (0: none)\n"
    "  password  asks for the new password twice on the terminal, or reads one line from\n"
    "            standard input when that is not a terminal. With the site option\n"
    "            PasswordHashing set to 1 (norvik init sets it) only a salted hash is stored.\n"
    "            An empty password, or one holding a zero byte, is refused.\n"
    "  check     reads a password the same way; exit code 0 when it is the user's, 1 if not\n";

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{}, {"--level"}, 0, 0}, "user list [--level N] [--json]"},
    {"add", {{}, {"--level"}, 1, 1}, "user add NAME [--level N]"},
    {"delete", {{}, {}, 1, 1}, "user delete NAME"},
    {"set",
     {{}, {"--level", "--location", "--profile", "--first", "--last"}, 1, 1},
     "user set NAME [--level N] [--location L] [--profile P] [--first F] [--last L]"},
    {"password", {{}, {}, 1, 1}, "user password NAME"},
    {"check", {{}, {}, 1, 1}, "user check NAME"},
};

int List(CNorvikSql& db, const MessageWatch& watch, int level, bool json) {
    CDynaList<ULong> users;
    db.EnumUsers(users, level);
    Listing listing(json, {"Id", "Name", "Level", "Location", "Profile", "First name", "Last name"});
    for (const ULong id : users) {
        const ULong location = db.userGetLocation(id);
        const std::string place = location ? db.locGetFullName(location, ';').str() : "";
        const std::string name = db.userGetName(id).str(), profile = db.userGetProfile(id).str();
        const std::string first = db.userGetFirstName(id).str(), last = db.userGetLastName(id).str();
        const int userLevel = db.userGetLevel(id);
        listing.Add({std::to_string(id), name, std::to_string(userLevel), place, profile, first, last},
                    JsonObject()
                        .Number("id", id)
                        .Text("name", name)
                        .Number("level", userLevel)
                        .Number("location", location)
                        .Text("locationName", place)
                        .Text("profile", profile)
                        .Text("firstName", first)
                        .Text("lastName", last));
    }
    if (watch.Shown()) return kExitFailed;
    listing.Print(std::cout, {0, 2});
    return kExitOk;
}

int Set(CNorvikSql& db, const Words& words, ULong user, int level) {
    ULong location = 0;
    if (words.Has("--location") && words.Value("--location") != "0") {
        const Resolved place = ResolveLocation(db, words.Value("--location"));
        if (!place.ok()) return Fail(place);
        location = place.id;
    }
    bool done = true;
    if (words.Has("--level")) done = db.userSetLevel(user, level) && done;
    if (words.Has("--location")) done = db.userSetLocation(user, location) && done;
    if (words.Has("--profile")) done = db.userSetProfile(user, words.Value("--profile").c_str()) && done;
    if (words.Has("--first")) done = db.userSetFirstName(user, words.Value("--first").c_str()) && done;
    if (words.Has("--last")) done = db.userSetLastName(user, words.Value("--last").c_str()) && done;
    return done ? kExitOk : kExitFailed;
}

int Password(CNorvikSql& db, ULong user) {
    std::string password, again;
    if (!ReadSecret("New password: ", &password)) return Fail("no password was given");
    // The library stores a C string: a zero byte would cut the password short, and any text
    // beginning with the part before it would then be accepted.
    if (password.find('\0') != std::string::npos) return Fail("a password may not hold a zero byte");
    if (password.empty()) return Fail("a password may not be empty");
    if (isatty(STDIN_FILENO)) {
        if (!ReadSecret("Again: ", &again)) return Fail("no password was given");
        if (again != password) return Fail("the two passwords differ; nothing was changed");
    }
    return db.userSetPassword(user, password.c_str()) ? kExitOk : kExitFailed;
}

int Check(CNorvikSql& db, const MessageWatch& watch, ULong user) {
    std::string password;
    if (!ReadSecret("Password: ", &password)) return Fail("no password was given");
    // No stored password holds a zero byte: such a text matches none.
    if (password.find('\0') == std::string::npos && db.ValidatePassword(user, password.c_str())) return kExitOk;
    if (!watch.Shown()) PrintError("wrong password");
    return kExitFailed;
}

}  // namespace

int RunUser(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("user", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    int level = sub == "list" ? -1 : 0;
    if (words.Has("--level") && !ParseInt(words.Value("--level"), &level))
        return UsageError("the level must be a whole number: " + words.Value("--level"));
    if (sub == "add" && words.positional[0].empty()) return UsageError("a user name may not be empty");

    const bool reads = sub == "list" || sub == "check";
    const Access access = reads ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "list") return List(db, watch, level, context.options.json);
        const std::string& name = words.positional[0];
        if (sub == "add") {
            if (db.userFind(name.c_str()) != 0) return Fail("a user named '" + name + "' already exists");
            const ULong user = db.userAdd(name.c_str(), level);
            if (user == 0) return kExitFailed;
            std::cout << user << '\n';
            return kExitOk;
        }
        const ULong user = db.userFind(name.c_str());
        if (user == 0) return watch.Shown() ? kExitFailed : Fail("no user named '" + name + "'");
        if (sub == "delete") return db.userDelete(user) ? kExitOk : kExitFailed;
        if (sub == "set") return Set(db, words, user, level);
        if (sub == "password") return Password(db, user);
        return Check(db, watch, user);
    });
}

}  // namespace cli
