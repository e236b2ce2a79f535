// norvik field: the definitions of user-defined fields, arranged in groups, and the values
// the assets hold for them.
#include <climits>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/words.h"
#include "common/formatting.h"
#include "fielddef/asset_field_def.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik field list [--json]\n"
    "       norvik field add NAME --type TYPE [--group G] [--min N] [--max N] [--list PICKLIST]\n"
    "                 [--case upper|lower|title] [--mandatory] [--owner asset|application]\n"
    "                 [--variable NAME] [--key KEY [--value NAME]]\n"
    "       norvik field rename OLD NEW [--keep-values]\n"
    "       norvik field delete NAME [--with-values]\n"
    "       norvik field values NAME [--json]\n"
    "User-defined fields are the site's own facts about assets (or applications).\n"
    "  list    every field with its group, owner, type and description\n"
    "  add     defines a field; TYPE is text, integer, picklist, boolean, envvar, regkey or date.\n"
    "          --group puts it in group G (made when missing); --owner defaults to asset.\n"
    "          text: --max N is the longest text (0: any), --case the case rule;\n"
    "          integer: --min and --max the range (default: any 32-bit number);\n"
    "          picklist: --list the pick list to choose from (it must exist);\n"
    "          envvar: --variable the environment variable; regkey: --key and --value.\n"
    "          New assets get an empty value; existing ones get it at their next audit.\n"
    "  rename  renames a field; with --keep-values its stored values follow the new name,\n"
    "          without they stay under the old name and belong to no field any more\n"
    "  delete  deletes a field; --with-values deletes its stored values too\n"
    "  values  the distinct values the assets hold, with the number of assets (<blank>: empty)\n"
    "The built-in names Category, Make, Model, Serial Number, MAC Address, IP Address,\n"
    "Audit Date and Location stand for the asset's own columns and cannot be defined.\n";

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{}, {}, 0, 0}, "field list [--json]"},
    {"add",
     {{"--mandatory"},
      {"--type", "--group", "--min", "--max", "--list", "--case", "--owner", "--variable", "--key", "--value"},
      1,
      1},
     "field add NAME --type TYPE [options] (see norvik field --help)"},
    {"rename", {{"--keep-values"}, {}, 2, 2}, "field rename OLD NEW [--keep-values]"},
    {"delete", {{"--with-values"}, {}, 1, 1}, "field delete NAME [--with-values]"},
    {"values", {{}, {}, 1, 1}, "field values NAME [--json]"},
};

const std::map<std::string, int> kTypes = {
    {"text", CAssetFieldDef::kText},         {"integer", CAssetFieldDef::kInteger},
    {"picklist", CAssetFieldDef::kPicklist}, {"boolean", CAssetFieldDef::kBoolean},
    {"envvar", CAssetFieldDef::kEnvVar},     {"regkey", CAssetFieldDef::kRegKey},
    {"date", CAssetFieldDef::kDate},
};

// A whole 32-bit signed number, or false.
bool ParseInt(const std::string& text, int* value) {
    if (text.empty() || text.size() > 11 || !IsNumericText(text.c_str(), true, false)) return false;
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    if (number < INT_MIN || number > INT_MAX || text == "-" || text == "+") return false;
    *value = static_cast<int>(number);
    return true;
}

const char* OwnerName(int owner) {
    return owner == CAssetFieldDef::kOwnerAsset         ? "asset"
           : owner == CAssetFieldDef::kOwnerApplication ? "application"
                                                        : "-";
}

int List(CNorvikSql& db, bool json) {
    CSortList fields;
    db.userDefEnum(0, fields, CNorvik::kUserDataOwnerMask, 1);
    Listing listing(json, {"Id", "Name", "Group", "Owner", "Type", "Description"});
    for (const CSortItem& field : fields) {
        CAssetFieldDef def;
        def.Load(db, field.id);
        const std::string group = def.GetParent() ? db.userDefGetKey(def.GetParent()).str() : "";
        const std::string name = def.GetName().str(), owner = OwnerName(def.GetOwner());
        const std::string type = def.GetTypeStr().str(), description = def.GetDescription().str();
        listing.Add({std::to_string(def.GetId()), name, group.empty() ? "-" : group, owner, type, description},
                    JsonObject()
                        .Number("id", def.GetId())
                        .Text("name", name)
                        .Text("group", group)
                        .Text("owner", owner)
                        .Text("type", type)
                        .Text("description", description));
    }
    listing.Print(std::cout, {0});
    return kExitOk;
}

// The checks of `field add` that need no database; empty when the options fit the type.
std::string CheckAddOptions(const Words& words, int type) {
    auto only = [&](const char* option, bool allowed) {
        return words.Has(option) && !allowed ? std::string(option) + " does not apply to this type" : std::string();
    };
    std::string problem;
    for (const std::string& p :
         {only("--min", type == CAssetFieldDef::kInteger),
          only("--max", type == CAssetFieldDef::kInteger || type == CAssetFieldDef::kText),
          only("--case", type == CAssetFieldDef::kText), only("--list", type == CAssetFieldDef::kPicklist),
          only("--variable", type == CAssetFieldDef::kEnvVar), only("--key", type == CAssetFieldDef::kRegKey),
          only("--value", type == CAssetFieldDef::kRegKey)})
        if (problem.empty()) problem = p;
    if (!problem.empty()) return problem;
    if (type == CAssetFieldDef::kPicklist && !words.Has("--list")) return "a picklist field needs --list";
    if (type == CAssetFieldDef::kEnvVar && words.Value("--variable").empty()) return "an envvar field needs --variable";
    if (type == CAssetFieldDef::kRegKey && words.Value("--key").empty()) return "a regkey field needs --key";
    int number = 0;
    for (const char* option : {"--min", "--max"})
        if (words.Has(option) && !ParseInt(words.Value(option), &number))
            return std::string(option) + " needs a whole number between -2147483648 and 2147483647";
    if (type == CAssetFieldDef::kText && words.Has("--max") && number < 0) return "--max may not be negative";
    int least = 0, most = 0;
    if (words.Has("--min") && words.Has("--max") && ParseInt(words.Value("--min"), &least) &&
        ParseInt(words.Value("--max"), &most) && least > most)
        return "--min " + words.Value("--min") + " is greater than --max " + words.Value("--max");
    if (words.Has("--case")) {
        const std::string& rule = words.Value("--case");
        if (rule != "upper" && rule != "lower" && rule != "title") return "--case takes upper, lower or title";
    }
    if (words.Has("--owner") && words.Value("--owner") != "asset" && words.Value("--owner") != "application")
        return "--owner takes asset or application";
    return std::string();
}

int Add(CNorvikSql& db, const Words& words, int type) {
    const std::string& name = words.positional[0];
    if (const ULong existing = db.userDefFind(name.c_str(), CNorvik::kUserDataOwnerMask))
        return Fail("a field named '" + name + "' already exists (id " + std::to_string(existing) + ")");
    ULong group = 0;
    if (words.Has("--group")) {
        const std::string& groupName = words.Value("--group");
        group = db.userDefFind(groupName.c_str(), CNorvik::kUserDefGroup);
        if (group == 0) {
            group = db.userDefAdd(CNorvik::kUserDefGroup);
            if (group == 0 || !db.userDefSetKey(group, groupName.c_str(), 0)) return kExitFailed;
        }
    }
    if (words.Has("--list") && db.FindPicklist(words.Value("--list").c_str()) == 0)
        return Fail("no pick list is named '" + words.Value("--list") + "'");
    const ULong id = db.userDefAdd(0);
    if (id == 0) return kExitFailed;
    CAssetFieldDef def;
    def.Load(db, id);
    def.SetName(name.c_str());
    def.SetParent(group);
    def.SetOwner(words.Value("--owner") == "application" ? CAssetFieldDef::kOwnerApplication
                                                         : CAssetFieldDef::kOwnerAsset);
    def.SetType(type);
    def.SetMandatory(words.Has("--mandatory") ? 1 : 0);
    int number = 0;
    if (type == CAssetFieldDef::kInteger) {
        def.SetMin(ParseInt(words.Value("--min"), &number) ? number : INT_MIN);
        def.SetMax(ParseInt(words.Value("--max"), &number) ? number : INT_MAX);
    }
    if (type == CAssetFieldDef::kText) {
        def.SetMin(ParseInt(words.Value("--max"), &number) ? number : 0);  // the first parameter: the length
        const std::string& rule = words.Value("--case");
        def.SetCaseRule(rule == "upper" ? 1 : rule == "lower" ? 2 : rule == "title" ? 3 : 0);
    }
    if (type == CAssetFieldDef::kPicklist) def.SetRegKey(words.Value("--list").c_str());
    if (type == CAssetFieldDef::kEnvVar) def.SetEnvVar(words.Value("--variable").c_str());
    if (type == CAssetFieldDef::kRegKey) {
        def.SetRegKey(words.Value("--key").c_str());
        def.SetEnvVar(words.Value("--value").c_str());
    }
    if (!def.Store(db, 0)) return kExitFailed;
    std::cout << id << "  " << name << '\n';
    return kExitOk;
}

int Values(CNorvikSql& db, const std::string& name, bool json) {
    ULong group = 0;
    if (!CNorvik::IsBuiltInField(name.c_str())) {
        const ULong def = db.userDefFind(name.c_str(), CNorvik::kUserDataOwnerMask);
        if (def == 0) return Fail("no field is named '" + name + "'");
        group = db.userDefGetParent(def);
    }
    CSortList values;
    db.userDataEnumGlobal(group, name.c_str(), values, 0);
    std::map<std::string, int> counts;
    for (const CSortItem& item : values) ++counts[item.text.str()];
    Listing listing(json, {"Value", "Assets"});
    for (const auto& [value, count] : counts)
        listing.Add({value, std::to_string(count)}, JsonObject().Text("value", value).Number("assets", count));
    listing.Print(std::cout, {1});
    return kExitOk;
}

}  // namespace

int RunField(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("field", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    int type = 0;
    if (sub == "add" || sub == "rename") {
        const std::string& newName = p.back();
        if (newName.empty()) return UsageError("a field name may not be empty");
        if (CNorvik::IsBuiltInField(newName.c_str()))
            return UsageError("'" + newName + "' is a built-in name and cannot be defined");
    }
    if (sub == "add") {
        const auto found = kTypes.find(words.Value("--type"));
        if (found == kTypes.end())
            return UsageError("field add needs --type text|integer|picklist|boolean|envvar|regkey|date");
        type = found->second;
        if (const std::string problem = CheckAddOptions(words, type); !problem.empty())
            return UsageError("field add: " + problem);
    }

    const bool reads = sub == "list" || sub == "values";
    const Access access = reads ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "list") return List(db, context.options.json);
        if (sub == "add") return Add(db, words, type);
        if (sub == "values") return Values(db, p[0], context.options.json);
        const ULong def = db.userDefFind(p[0].c_str(), CNorvik::kUserDataOwnerMask);
        if (def == 0) return watch.Shown() ? kExitFailed : Fail("no field is named '" + p[0] + "'");
        if (sub == "rename") {
            if (const ULong other = db.userDefFind(p[1].c_str(), CNorvik::kUserDataOwnerMask); other && other != def)
                return Fail("a field named '" + p[1] + "' already exists (id " + std::to_string(other) + ")");
            if (!db.userDefSetKey(def, p[1].c_str(), words.Has("--keep-values") ? 1 : 0)) return kExitFailed;
        } else if (!db.userDefDelete(def, words.Has("--with-values") ? 1 : 0)) {
            return kExitFailed;
        }
        return kExitOk;
    });
}

}  // namespace cli
