// norvik option get|set: the site-wide settings of the Audit Database.
#include <iostream>
#include <string>

#include "cli/cli_context.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik option get KEY\n"
    "       norvik option set KEY VALUE\n"
    "Reads or stores a site option (for example CompanyName). A key that was never set\n"
    "reads as an empty line. AuditInterval, the days between two audits of an asset, takes\n"
    "a whole number from 1 to 3650.\n";

// "" when `value` may be stored under `key`, else the problem. Keys are compared as the
// database compares them: exactly.
std::string CheckOption(const std::string& key, const std::string& value) {
    if (key != CNorvikSql::kOptionAuditInterval) return "";
    const bool days = !value.empty() && value.size() <= 4 &&
                      value.find_first_not_of("0123456789") == std::string::npos && std::stoi(value) >= 1 &&
                      std::stoi(value) <= 3650;
    return days ? "" : key + " takes a whole number of days from 1 to 3650: " + value;
}

}  // namespace

int RunOption(Context& context) {
    const auto& args = context.args;
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    const bool get = !args.empty() && args[0] == "get" && args.size() == 2;
    const bool set = !args.empty() && args[0] == "set" && args.size() == 3;
    if (!get && !set) {
        std::cerr << kHelp;
        return kExitUsage;
    }
    if (set) {
        if (const std::string problem = CheckOption(args[1], args[2]); !problem.empty()) return UsageError(problem);
    }
    CNorvikSql* db = get ? context.OpenDatabaseToRead() : context.OpenDatabase();
    if (!db) return kExitFailed;
    if (get) {
        const CString value = db->GetOption(args[1].c_str());
        if (context.options.json) {
            std::cout << "{\"key\": " << JsonText(args[1]) << ", \"value\": " << JsonText(value.str()) << "}\n";
        } else {
            std::cout << value.c_str() << '\n';
        }
        return kExitOk;
    }
    db->SetOption(args[1].c_str(), args[2].c_str());
    // SetOption reports its own failures; reading back tells whether the value landed.
    return db->GetOption(args[1].c_str()) == args[2].c_str() ? kExitOk : kExitFailed;
}

}  // namespace cli
