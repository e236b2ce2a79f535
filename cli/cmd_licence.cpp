// norvik licence: licence types, the licence of each application, the compliance report, the
// over-use check and the licence alerts it raises.
#include <climits>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/resolve_app.h"
#include "cli/resolve_location.h"
#include "cli/words.h"
#include "report/licence_report.h"

namespace cli {

namespace {

const char kLicenceHelp[] =
    "usage: norvik licence type list [--json]\n"
    "       norvik licence type add NAME [--per-pc] [--hidden]\n"
    "       norvik licence type rename TYPE NAME\n"
    "       norvik licence type delete TYPE\n"
    "       norvik licence set APP [--type TYPE] [--count N]\n"
    "       norvik licence report [--location LOCATION] [--json]\n"
    "       norvik licence check\n"
    "       norvik licence alerts [--json]\n"
    "       norvik licence alerts delete ID\n"
    "Licence types say how an application is licensed; a \"Per PC\" type compares the number\n"
    "of licences declared for an application with the assets it is installed on. TYPE is an\n"
    "id or a name; type 1, \"Not Specified\", is built in.\n"
    "  type list       every type with its flags\n"
    "  type add        adds a type (--per-pc: counted per installation; --hidden: kept out of\n"
    "                  the lists of the auditing programs) and prints its id\n"
    "  type rename     renames a type; its flags are cleared, as for a new kind of licence\n"
    "  type delete     deletes a type that no application uses\n"
    "  set             gives an application (an id, \"PUBLISHER NAME\" or a name only one\n"
    "                  application has) a licence type and/or a declared number of licences\n"
    "  report          every application with a licence type: declared licences, assets it is\n"
    "                  installed on (within LOCATION and below it, default: the whole site),\n"
    "                  the difference for per-PC licences; over-used applications first\n"
    "  check           raises an alert for each per-PC application installed on more assets\n"
    "                  than declared (once per application) and prints the new alerts\n"
    "  alerts          the licence alerts raised so far (type 1: installed more often than\n"
    "                  licensed)\n"
    "  alerts delete   deletes one alert\n";

// A licence type named by its _ID or by its exact name (refused when several types share it).
Resolved ResolveLicenceType(CNorvikSql& db, const std::string& word) {
    return ResolveNamedRow(db, "LICTYPE", "_NAME", "licence type", word);
}

// Names identify types: a new name must be one no other type has.
bool CheckTypeName(CNorvikSql& db, const std::string& name, ULong except) {
    return CheckNewName(db, "LICTYPE", "_NAME", "licence type", name, except);
}

int TypeList(CNorvikSql& db, bool json) {
    CSortList types;
    db.EnumLicenceTypes(types);
    Listing listing(json, {"Id", "Name", "Flags"});
    for (const CSortItem& type : types) {
        const std::string flags = CNorvik::FormatLicenseFlags(static_cast<int>(type.extra)).str();
        listing.Add({std::to_string(type.id), type.text.str(), flags}, JsonObject()
                                                                           .Number("id", type.id)
                                                                           .Text("name", type.text.str())
                                                                           .Number("flags", type.extra)
                                                                           .Text("flagNames", flags));
    }
    listing.Print(std::cout, {0});
    return kExitOk;
}

const std::vector<SubCommandSpec> kTypeCommands = {
    {"list", {{}, {}, 0, 0}, "licence type list [--json]"},
    {"add", {{"--per-pc", "--hidden"}, {}, 1, 1}, "licence type add NAME [--per-pc] [--hidden]"},
    {"rename", {{}, {}, 2, 2}, "licence type rename TYPE NAME"},
    {"delete", {{}, {}, 1, 1}, "licence type delete TYPE"},
};

int RunType(Context& context) {
    const auto& args = context.args;
    const std::vector<std::string> rest(args.begin() + (args.empty() ? 0 : 1), args.end());
    Words words;
    const SubCommandSpec* command = PickSubCommand("licence type", rest, kTypeCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    const Access access = sub == "list" ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "list") return TypeList(db, context.options.json);
        if (sub == "add") {
            if (!CheckTypeName(db, p[0], 0)) return kExitFailed;
            const ULong id = db.AddLicenceType(p[0].c_str());
            if (id == 0) return kExitFailed;
            if (words.Has("--per-pc")) db.SetLicenceTypeFlag(id, CNorvik::kLicencePerPc, 1);
            if (words.Has("--hidden")) db.SetLicenceTypeFlag(id, CNorvik::kLicenceHidden, 1);
            if (watch.Shown()) return kExitFailed;
            std::cout << id << '\n';
            return kExitOk;
        }
        const Resolved type = ResolveLicenceType(db, p[0]);
        if (!type.ok()) return Fail(type);
        if (type.id == CNorvik::kLicenceNotSpecified)
            return Fail("licence type 1 (\"Not Specified\") is built in and cannot be changed");
        if (sub == "rename") {
            if (!CheckTypeName(db, p[1], type.id)) return kExitFailed;
            ULong flags = 0;
            CString old;
            db.GetLicenceDetails(type.id, old, &flags);
            db.SetLicenceTypeName(type.id, p[1].c_str());
            if (watch.Shown()) return kExitFailed;
            if (flags != 0) {
                std::cout << "flags cleared (were " << CNorvik::FormatLicenseFlags(static_cast<int>(flags)).c_str()
                          << ")\n";
            }
            return kExitOk;
        }
        if (db.DeleteLicenceType(type.id)) return kExitOk;
        if (watch.Shown()) return kExitFailed;
        CDynaList<ULong> users;
        try {
            db.EnumIds("APPS", CString::Formatted("_LICTYPE=%d", static_cast<int>(type.id)), users);
        } catch (const CDBException& e) {
            return Fail("cannot read the applications: " + e.m_strError.str());
        }
        return Fail("licence type '" + db.GetLicenceName(type.id).str() + "' is used by " +
                    std::to_string(users.GetCount()) + " application(s); not deleted");
    });
}

struct AlertRow {
    ULong id = 0;
    int type = 0;
    int app = 0;
    std::string name;  // the application's display name
    CTime date;
    int declared = 0;
    int instances = 0;
};

int AlertList(CNorvikSql& db, bool json) {
    CDynaList<ULong> ids;
    db.EnumLicenseAlerts(ids);
    std::vector<AlertRow> rows;
    for (ULong id : ids) {
        AlertRow row;
        row.id = id;
        if (!db.licensealertGetDetails(id, &row.type, &row.app, &row.date, &row.declared, &row.instances)) continue;
        row.name = db.applicationGetName(static_cast<ULong>(row.app), 0, 1).str();
        rows.push_back(row);
    }
    Listing listing(json, {"Id", "Type", "App", "Application", "Date", "Declared", "Installed"});
    for (const AlertRow& r : rows) {
        const std::string date = IsoDateTime(r.date);
        listing.Add({std::to_string(r.id), std::to_string(r.type), std::to_string(r.app), r.name, date,
                     std::to_string(r.declared), std::to_string(r.instances)},
                    JsonObject()
                        .Number("id", r.id)
                        .Number("type", r.type)
                        .Number("app", r.app)
                        .Text("application", r.name)
                        .Text("date", date)
                        .Number("declared", r.declared)
                        .Number("installed", r.instances));
    }
    listing.Print(std::cout, {0, 1, 2, 5, 6});
    return kExitOk;
}

int RunAlerts(Context& context) {
    Words words;
    const char* usage = "licence alerts [--json] | licence alerts delete ID";
    if (!SplitSubCommandWords(context.args, {{}, {}, 0, 2}, usage, &words)) return kExitUsage;
    const auto& p = words.positional;
    const bool remove = !p.empty();
    if (remove && (p[0] != "delete" || p.size() != 2))
        return UsageError(std::string("wrong arguments; usage: norvik ") + usage);
    const ULong id = remove ? IdFromDigits(p[1]) : 0;
    if (remove && id == 0) return UsageError("not an alert id: " + p[1]);
    const Access access = remove ? Access::kWrite : Access::kRead;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (!remove) return AlertList(db, context.options.json);
        if (!db.licensealertGetDetails(id, nullptr, nullptr, nullptr, nullptr, nullptr))
            return watch.Shown() ? kExitFailed : Fail("no licence alert " + p[1]);
        db.licensealertDelete(id);
        return kExitOk;
    });
}

// A declared number of licences: decimal digits up to the largest count a row holds. Negative
// and non-numeric counts are refused: -1 would leave the count unchanged, not set it.
bool ParseCount(const std::string& word, int* count) {
    if (word.empty() || word.size() > 10 || word.find_first_not_of("0123456789") != std::string::npos) return false;
    const unsigned long long value = std::stoull(word);
    if (value > static_cast<unsigned long long>(INT_MAX)) return false;
    *count = static_cast<int>(value);
    return true;
}

int RunSet(Context& context) {
    Words words;
    if (!SplitSubCommandWords(context.args, {{}, {"--type", "--count"}, 1, 1},
                              "licence set APP [--type TYPE] [--count N]", &words))
        return kExitUsage;
    if (!words.Has("--type") && !words.Has("--count")) return UsageError("licence set needs --type or --count");
    int count = -1;
    if (words.Has("--count") && !ParseCount(words.Value("--count"), &count))
        return UsageError("not a number of licences (0 to 2147483647): " + words.Value("--count"));
    return WithDatabase(context, Access::kWrite, [&](CNorvikSql& db, const MessageWatch& watch) {
        const Resolved app = ResolveApp(db, words.positional[0]);
        if (!app.ok()) return Fail(app);
        int type = -1;
        if (words.Has("--type")) {
            const Resolved resolved = ResolveLicenceType(db, words.Value("--type"));
            if (!resolved.ok()) return Fail(resolved);
            type = static_cast<int>(resolved.id);
        }
        if (watch.Shown()) return kExitFailed;
        db.SetAppLicence(app.id, type, count);
        const CString description = db.GetAppLicenceDesc(app.id);
        if (watch.Shown()) return kExitFailed;
        std::cout << db.applicationGetName(app.id, 0, 1).c_str() << ": " << description.c_str() << '\n';
        return kExitOk;
    });
}

int RunReport(Context& context) {
    Words words;
    if (!SplitSubCommandWords(context.args, {{}, {"--location"}, 0, 0}, "licence report [--location LOCATION] [--json]",
                              &words))
        return kExitUsage;
    return WithDatabase(context, Access::kRead, [&](CNorvikSql& db, const MessageWatch& watch) {
        ULong scope = 0;
        if (words.Has("--location")) {
            const Resolved location = ResolveLocation(db, words.Value("--location"), true);
            if (!location.ok()) return Fail(location);
            scope = location.id;
        }
        const std::vector<LicenceReportRow> rows = BuildLicenceReport(db, scope);
        if (watch.Shown()) return kExitFailed;
        Listing listing(context.options.json,
                        {"Publisher", "Name", "Type", "Declared", "Installed", "Difference", "Over-used"});
        for (const LicenceReportRow& r : rows) {
            listing.Add({r.publisher, r.name, r.type, std::to_string(r.declared), std::to_string(r.installed),
                         std::to_string(r.difference), r.overUsed ? "OVER-USED" : ""},
                        JsonObject()
                            .Number("app", r.app)
                            .Text("publisher", r.publisher)
                            .Text("name", r.name)
                            .Text("type", r.type)
                            .Number("declared", r.declared)
                            .Number("installed", r.installed)
                            .Number("difference", r.difference)
                            .Flag("overUsed", r.overUsed));
        }
        listing.Print(std::cout, {3, 4, 5});
        return kExitOk;
    });
}

int RunCheck(Context& context) {
    Words words;
    if (!SplitSubCommandWords(context.args, {{}, {}, 0, 0}, "licence check", &words)) return kExitUsage;
    return WithDatabase(context, Access::kWrite, [&](CNorvikSql& db, const MessageWatch& watch) {
        CDynaList<ULong> added;
        const ULong overUsed = db.licensealertCheckOverUse(CTime::GetCurrentTime(), &added);
        if (watch.Shown()) return kExitFailed;
        for (const ULong alert : added) {
            int app = 0, declared = 0, instances = 0;
            db.licensealertGetDetails(alert, nullptr, &app, nullptr, &declared, &instances);
            std::cout << "alert " << alert << ": " << db.applicationGetName(static_cast<ULong>(app), 0, 1).c_str()
                      << " is installed on " << instances << " assets; " << declared << " licences declared\n";
        }
        std::cout << overUsed << " over-used application(s), " << added.GetCount() << " new alert(s)\n";
        return kExitOk;
    });
}

}  // namespace

int RunLicence(Context& context) {
    if (context.PrintHelpIfAsked(kLicenceHelp)) return kExitOk;
    const std::string sub = context.args.empty() ? "" : context.args[0];
    if (sub == "type") return RunType(context);
    if (sub == "alerts") return RunAlerts(context);
    if (sub == "set") return RunSet(context);
    if (sub == "report") return RunReport(context);
    if (sub == "check") return RunCheck(context);
    return UsageError((sub.empty() ? std::string("licence needs a command") : "unknown licence command " + sub) +
                      " (see norvik licence --help)");
}

}  // namespace cli
