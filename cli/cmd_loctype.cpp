// norvik loctype: the levels of the location tree.
#include <algorithm>
#include <iostream>
#include <map>

#include "cli/cli_context.h"
#include "cli/resolve_location.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kLocTypeHelp[] =
    "usage: norvik loctype list [--json]\n"
    "       norvik loctype add NAME [--parent TYPE]\n"
    "       norvik loctype rename TYPE NAME\n"
    "       norvik loctype delete TYPE\n"
    "Location types are the levels of the location tree (site, building, floor ...), each one\n"
    "below its parent. TYPE is an id or a name.\n"
    "  list     every type with its level and its parent\n"
    "  add      inserts a type directly below TYPE (default: at the top); the types that were\n"
    "           below TYPE move below the new one. Prints the new id.\n"
    "  rename   gives a type a new name\n"
    "  delete   removes a level: its child type moves up, and every location of this type\n"
    "           goes, its assets and sub-locations moving to its parent location\n";

int LocTypeList(CNorvikSql& db, bool json) {
    CDynaList<ULong> ids;
    db.EnumLocTypes(ids);
    struct Row {
        ULong id;
        ULong parent;
        ULong level;
        std::string name;
    };
    std::map<ULong, ULong> parents;
    std::vector<Row> rows;
    for (ULong id : ids) {
        rows.push_back(Row{id, db.GetLocTypeParent(id), 0, db.GetLocTypeName(id).str()});
        parents[id] = rows.back().parent;
    }
    // The level is the number of types up to the top; a chain longer than the table is a cycle.
    for (Row& row : rows) {
        ULong up = row.id;
        for (row.level = 1; parents.count(up) && parents[up] != 0 && row.level <= rows.size(); ++row.level)
            up = parents[up];
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.level < b.level; });
    Listing listing(json, {"Id", "Level", "Name", "Parent"});
    for (const Row& row : rows) {
        const auto parent = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.id == row.parent; });
        listing.Add(
            {std::to_string(row.id), std::to_string(row.level), row.name, parent == rows.end() ? "-" : parent->name},
            JsonObject()
                .Number("id", row.id)
                .Text("name", row.name)
                .Number("parent", row.parent)
                .Number("level", row.level));
    }
    listing.Print(std::cout, {0, 1});
    return kExitOk;
}

// Names identify types: a new name must be one no other type has.
bool CheckTypeName(CNorvikSql& db, const std::string& name, ULong except) {
    return CheckNewName(db, "LOCTYPE", "_LABEL", "location type", name, except);
}

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{}, {}, 0, 0}, "loctype list [--json]"},
    {"add", {{}, {"--parent"}, 1, 1}, "loctype add NAME [--parent TYPE]"},
    {"rename", {{}, {}, 2, 2}, "loctype rename TYPE NAME"},
    {"delete", {{}, {}, 1, 1}, "loctype delete TYPE"},
};

}  // namespace

int RunLocType(Context& context) {
    if (context.PrintHelpIfAsked(kLocTypeHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("loctype", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    return WithDatabase(
        context, sub == "list" ? Access::kRead : Access::kWrite, [&](CNorvikSql& db, const MessageWatch&) {
            if (sub == "list") return LocTypeList(db, context.options.json);
            if (sub == "add") {
                ULong parent = 0;
                if (words.Has("--parent")) {
                    const Resolved resolved = ResolveLocType(db, words.Value("--parent"));
                    if (!resolved.ok()) return Fail(resolved);
                    parent = resolved.id;
                }
                if (!CheckTypeName(db, p[0], 0)) return kExitFailed;
                const ULong id = db.AddLocType(p[0].c_str(), parent);
                if (id == 0) return kExitFailed;
                std::cout << id << '\n';
                return kExitOk;
            }
            const Resolved type = ResolveLocType(db, p[0]);
            if (!type.ok()) return Fail(type);
            if (sub == "rename") {
                if (!CheckTypeName(db, p[1], type.id)) return kExitFailed;
                return db.SetLocTypeName(type.id, p[1].c_str()) ? kExitOk : kExitFailed;
            }
            const CString name = db.GetLocTypeName(type.id);
            CDynaList<ULong> level;
            try {
                db.EnumIds("LOCDATA", CString::Formatted("_TYPE = %d", static_cast<int>(type.id)), level);
            } catch (const CDBException& e) {
                PrintError("cannot read the locations: " + e.m_strError.str());
                return kExitFailed;
            }
            if (!db.DeleteLocType(type.id)) return kExitFailed;
            std::cout << "deleted location type '" << name.c_str() << "' and its " << level.GetCount()
                      << " location(s); their assets and sub-locations moved up a level\n";
            return kExitOk;
        });
}

}  // namespace cli
