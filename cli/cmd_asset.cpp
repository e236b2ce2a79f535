// norvik asset: listing, adding, showing, renaming, moving, deleting and counting assets. Every
// change is written to the asset's history under the name of the user running the tool.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <vector>

#include "cli/asset_fields.h"
#include "cli/cli_context.h"
#include "cli/resolve_asset.h"
#include "cli/resolve_location.h"
#include "cli/words.h"
#include "import/identifiers.h"
#include "sql/asset_rows.h"
#include "sql/find_or_insert_lock.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik asset list [--location LOCATION] [--recursive] [--json]\n"
    "       norvik asset add NAME [--location LOCATION]\n"
    "       norvik asset show ASSET [--json]\n"
    "       norvik asset set ASSET FIELD VALUE\n"
    "       norvik asset rename ASSET NAME [--station FILE]\n"
    "       norvik asset move ASSET (--location LOCATION | --parent ASSET)\n"
    "       norvik asset delete ASSET\n"
    "       norvik asset count [--location LOCATION] [--filtered] [--quick] [--json]\n"
    "An ASSET is an id or an exact name; a LOCATION an id or a path (\"HQ;Floor 2\"), 0 the root.\n"
    "  list    every asset by name; with --location the assets placed in LOCATION, and with\n"
    "          --recursive those of every location below it and their child assets too\n"
    "  add     adds an asset (at the root unless --location is given), with its initial audit\n"
    "          record and an empty value of every asset-level field; prints its id and name\n"
    "  show    the asset's place, kind, state, addresses, last audit, child assets and field\n"
    "          values; the kind is computer, laptop, server or virtual machine (status bits 0x10,\n"
    "          0x20, 0x40, 0x80), peripheral for a child asset, or not yet audited\n"
    "  set     gives the asset's field FIELD the value VALUE, checked as the field's editing\n"
    "          control checks it (case rule, length, range, pick-list entries, yes/no, dates as\n"
    "          YYYY-MM-DD) and recorded in the history; \"\" empties it. FIELD may also be one of\n"
    "          Category, Make, Model, Serial Number, MAC Address, IP Address, Audit Date, Location\n"
    "  rename  gives the asset a name no other asset has; --station also writes it into the\n"
    "          station file FILE (value Name of section [Asset])\n"
    "  move    puts the asset in a location, or attaches it to another asset as a child asset\n"
    "  delete  deletes the asset, its child assets and everything recorded about them\n"
    "  count   the assets of LOCATION and the locations below it (default: all assets);\n"
    "          --filtered counts only audited kinds, --quick answers only 0, 1 or more\n";

int Usage(const std::string& problem) { return UsageError(problem + " (see norvik asset --help)"); }

// What a sub-command accepts, checked before the database is opened.
struct SubCommand {
    const char* name;
    WordRules rules;
};

const SubCommand kSubCommands[] = {
    {"list", {{"--recursive"}, {"--location"}, 0, 0}},
    {"add", {{}, {"--location"}, 1, 1}},
    {"show", {{}, {}, 1, 1}},
    {"set", {{}, {}, 3, 3}},
    {"rename", {{}, {"--station"}, 2, 2}},
    {"move", {{}, {"--location", "--parent"}, 1, 1}},
    {"delete", {{}, {}, 1, 1}},
    {"count", {{"--filtered", "--quick"}, {"--location"}, 0, 0}},
};

std::string DateText(CTime time) { return time.IsNever() ? "never" : IsoDateTime(time); }

std::string JsonDate(CTime time) { return time.IsNever() ? "null" : JsonText(DateText(time)); }

// What the tool tells about one asset.
struct AssetFacts {
    ULong id = 0;
    std::string name;
    ULong parentAsset = 0;  // 0 when the asset sits in a location
    ULong location = 0;     // the location that holds it, through its parent assets
    std::string place;      // the location's path, or "child of NAME"
    ULong status = 0;
    std::string mac;
    std::string ip;
    CTime audited;
};

// Reads assets for display, remembering the location paths already built. A listing preloads
// the rows of its assets: one read per few hundred assets instead of several per asset.
class AssetReader {
public:
    explicit AssetReader(CNorvikSql& db) : m_db(db) {}

    // Throws CDBException, as Read does.
    void Preload(const CDynaList<ULong>& ids) { m_rows = ReadAssetRows(m_db, ids); }

    AssetFacts Read(ULong id) {
        const AssetRowFacts& row = Row(id);
        AssetFacts facts;
        facts.id = id;
        facts.name = row.name.str();
        facts.mac = row.mac.str();
        facts.ip = row.ip.str();
        facts.audited = row.audited;
        facts.status = row.status;
        if (row.status & CNorvik::kAssetChild) {
            facts.parentAsset = row.location;
            facts.place = "child of " + Row(row.location).name.str();
            facts.location = m_db.GetAssetLocation(id);
        } else {
            facts.location = row.location;
            facts.place = PathOf(row.location);
        }
        return facts;
    }

    std::string PathOf(ULong location) {
        if (location == 0) return "(root)";
        auto known = m_paths.find(location);
        if (known == m_paths.end()) known = m_paths.emplace(location, m_db.locGetFullName(location, '\\').str()).first;
        return known->second;
    }

private:
    // The row of `id`, read when no listing preloaded it; a missing asset gives an empty row.
    const AssetRowFacts& Row(ULong id) {
        auto known = m_rows.find(id);
        if (known == m_rows.end()) {
            CDynaList<ULong> one;
            one.Add(id);
            std::map<ULong, AssetRowFacts> read = ReadAssetRows(m_db, one);
            known = m_rows.emplace(id, read.count(id) ? read[id] : AssetRowFacts()).first;
        }
        return known->second;
    }

    CNorvikSql& m_db;
    std::map<ULong, std::string> m_paths;
    std::map<ULong, AssetRowFacts> m_rows;
};

// The kind an asset's status names: a child asset is a peripheral, else the kind bit's name.
std::string KindOf(ULong status) {
    if (status & CNorvik::kAssetChild) return "peripheral";
    const char* kind = CNorvik::AssetKindName(status);
    return kind ? kind : "not yet audited";
}

// The asset's fields as an open JSON object: the caller adds what else it has and the "}".
std::string FactsJson(const AssetFacts& f) {
    return "{\"id\": " + std::to_string(f.id) + ", \"name\": " + JsonText(f.name) +
           ", \"location\": " + std::to_string(f.location) + ", \"parent\": " + std::to_string(f.parentAsset) +
           ", \"place\": " + JsonText(f.place) + ", \"status\": " + std::to_string(f.status) +
           ", \"mac\": " + JsonText(f.mac) + ", \"ip\": " + JsonText(f.ip) + ", \"audited\": " + JsonDate(f.audited);
}

// The location a --location option names (the root when there is none).
Resolved LocationOption(CNorvikSql& db, const Words& args) {
    if (!args.Has("--location")) return Resolved{0, kExitOk, std::string()};
    return ResolveLocation(db, args.Value("--location"), true);
}

// ---- The sub-commands ----

int List(CNorvikSql& db, const Words& args, bool json) {
    const Resolved location = LocationOption(db, args);
    if (!location.ok()) return Fail(location);
    CDynaList<ULong> ids;
    if (args.Has("--location"))
        db.assetEnum(location.id, 0, ids, args.Has("--recursive") ? 1 : 0);
    else
        db.assetEnum(0, 0, ids, 1);
    AssetReader reader(db);
    reader.Preload(ids);
    if (json) {
        std::cout << "[";
        for (ULong i = 0; i < ids.GetCount(); ++i) {
            const AssetFacts f = reader.Read(ids[i]);
            std::cout << (i ? ", " : "") << FactsJson(f) << ", \"kind\": " << JsonText(KindOf(f.status)) << "}";
        }
        std::cout << "]\n";
        return kExitOk;
    }
    TextTable table({"Id", "Name", "Kind", "Place", "MAC address", "IP address", "Last audit"});
    for (ULong id : ids) {
        const AssetFacts f = reader.Read(id);
        table.AddRow({std::to_string(f.id), f.name, KindOf(f.status), f.place, f.mac, f.ip, DateText(f.audited)});
    }
    table.Print(std::cout, {0});
    return kExitOk;
}

int Add(CNorvikSql& db, const Words& args) {
    const std::string& name = args.positional[0];
    const Resolved location = LocationOption(db, args);
    if (!location.ok()) return Fail(location);
    // The find and the add are one step under the name's lock: of several runs adding one name at
    // once, one adds it and every other reports the asset it found.
    FindOrInsertLock lock(db, "ASSET", name.c_str());
    if (const ULong existing = db.FindAsset(name.c_str(), 0, 1))
        return Fail("an asset named '" + name + "' already exists (id " + std::to_string(existing) + ")");
    const ULong id = db.AddAsset(name.c_str(), location.id, 1, 1, CTime::GetCurrentTime());
    if (id == 0) return kExitFailed;
    lock.Commit();
    std::cout << id << "  " << name << '\n';
    return kExitOk;
}

int Show(CNorvikSql& db, ULong id, bool json) {
    AssetReader reader(db);
    const AssetFacts f = reader.Read(id);
    CDynaList<ULong> children;
    db.assetEnumChildren(id, children, 0);
    const std::string kind = KindOf(f.status);
    if (json) {
        std::cout << FactsJson(f) << ", \"kind\": " << JsonText(kind) << ", \"children\": [";
        for (ULong i = 0; i < children.GetCount(); ++i) std::cout << (i ? ", " : "") << children[i];
        std::cout << "], \"fields\": {";
        bool first = true;
        for (const auto& [name, value] : AssetFieldValues(db, id)) {
            std::cout << (first ? "" : ", ") << JsonText(name) << ": " << JsonText(value);
            first = false;
        }
        std::cout << "}}\n";
        return kExitOk;
    }
    char status[16];
    std::snprintf(status, sizeof status, "0x%05X", f.status);
    std::string childText;
    for (ULong child : children) {
        if (!childText.empty()) childText += ", ";
        childText += db.GetAssetName(child).str() + " (" + std::to_string(child) + ")";
    }
    TextTable table({"Field", "Value"});
    table.AddRow({"Id", std::to_string(f.id)});
    table.AddRow({"Name", f.name});
    table.AddRow({"Place", f.place});
    if (f.parentAsset != 0) table.AddRow({"Location", reader.PathOf(f.location)});
    table.AddRow({"Kind", kind});
    table.AddRow({"Status", status});
    table.AddRow({"MAC address", f.mac});
    table.AddRow({"IP address", f.ip});
    table.AddRow({"Last audit", DateText(f.audited)});
    table.AddRow({"Child assets", childText.empty() ? "none" : childText});
    for (const auto& [name, value] : AssetFieldValues(db, id)) table.AddRow({name, value});
    table.Print(std::cout);
    return kExitOk;
}

int Rename(CNorvikSql& db, ULong id, const Words& args) {
    const std::string& name = args.positional[1];
    const ULong existing = db.FindAsset(name.c_str(), 0, 1);
    if (existing != 0 && existing != id)
        return Fail("an asset named '" + name + "' already exists (id " + std::to_string(existing) + ")");
    const std::string oldName = db.GetAssetName(id).str();
    const char* station = args.Has("--station") ? args.Value("--station").c_str() : nullptr;
    if (!db.SetAssetName(id, name.c_str(), station, 1, CTime::GetCurrentTime())) return kExitFailed;
    std::cout << "renamed asset " << id << " from '" << oldName << "' to '" << name << "'\n";
    return kExitOk;
}

int Move(CNorvikSql& db, ULong id, const Words& args) {
    const bool toAsset = args.Has("--parent");
    const Resolved target = toAsset ? ResolveAsset(db, args.Value("--parent")) : LocationOption(db, args);
    if (!target.ok()) return Fail(target);
    if (toAsset) {
        for (ULong above = target.id; above != 0;) {
            if (above == id) return Fail("an asset cannot be attached below itself");
            int isLocation = 1;
            const ULong next = db.GetAssetParent(above, isLocation);
            if (isLocation) break;
            above = next;
        }
    }
    if (!db.SetAssetParent(id, target.id, toAsset ? 1 : 0, 1, CTime::GetCurrentTime())) return kExitFailed;
    AssetReader reader(db);
    std::cout << "moved '" << db.GetAssetName(id).c_str() << "' to " << reader.Read(id).place << '\n';
    return kExitOk;
}

int Delete(CNorvikSql& db, ULong id) {
    const std::string name = db.GetAssetName(id).str();
    CDynaList<ULong> children;
    {
        // The asset and all its children go in one transaction: a failure or a kill deletes none.
        TransactionScope transaction(db);
        db.assetEnumChildren(id, children, 1);
        // Children follow their parent in the list: deleting from the end takes every child
        // before the asset it is attached to.
        for (ULong i = children.GetCount(); i > 0; --i)
            if (!db.assetDelete(children[i - 1])) return kExitFailed;
        if (!db.assetDelete(id)) return kExitFailed;
        transaction.Commit();
    }
    db.Clean();
    std::cout << "deleted '" << name << "'";
    if (children.GetCount() != 0) std::cout << " and " << children.GetCount() << " child asset(s)";
    std::cout << '\n';
    return kExitOk;
}

int Count(CNorvikSql& db, const Words& args, bool json) {
    const Resolved location = LocationOption(db, args);
    if (!location.ok()) return Fail(location);
    const ULong count = db.CountAssets(location.id, args.Has("--filtered") ? 0 : 1, args.Has("--quick") ? 1 : 0);
    if (json)
        std::cout << "{\"count\": " << count << "}\n";
    else
        std::cout << count << '\n';
    return kExitOk;
}

// Runs the sub-command `sub` on an open database.
int Apply(CNorvikSql& db, const std::string& sub, const Words& args, bool json) {
    if (const char* user = std::getenv("USER"); user && *user) db.SetLogonUser(user);
    try {
        if (sub == "list") return List(db, args, json);
        if (sub == "add") return Add(db, args);
        if (sub == "count") return Count(db, args, json);
        const Resolved asset = ResolveAsset(db, args.positional[0]);
        if (!asset.ok()) return Fail(asset);
        if (sub == "show") return Show(db, asset.id, json);
        if (sub == "set") return SetAssetField(db, asset.id, args.positional[1], args.positional[2]);
        if (sub == "rename") return Rename(db, asset.id, args);
        if (sub == "move") return Move(db, asset.id, args);
        return Delete(db, asset.id);
    } catch (const CDBException& e) {
        return Fail("cannot read the assets: " + e.m_strError.str());
    }
}

}  // namespace

int RunAsset(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    if (context.args.empty())
        return Usage("asset needs a command: list, add, show, set, rename, move, delete or count");
    const SubCommand* command = nullptr;
    for (const SubCommand& candidate : kSubCommands)
        if (context.args[0] == candidate.name) command = &candidate;
    if (!command) return Usage("unknown asset command " + context.args[0]);
    const std::string sub = command->name;
    Words args;
    const std::string problem =
        SplitWords(std::vector<std::string>(context.args.begin() + 1, context.args.end()), command->rules, &args);
    if (!problem.empty()) return Usage("asset " + sub + ": " + problem);
    if ((sub == "add" && IsBlankName(args.positional[0])) || (sub == "rename" && IsBlankName(args.positional[1])))
        return Usage("an asset name may not be empty or made only of spaces");
    if (sub == "move" && args.Has("--location") == args.Has("--parent"))
        return Usage("asset move needs either --location or --parent");

    const bool reads = sub == "list" || sub == "show" || sub == "count";
    return WithDatabase(context, reads ? Access::kRead : Access::kWrite, [&](CNorvikSql& db, const MessageWatch&) {
        return Apply(db, sub, args, context.options.json);
    });
}

}  // namespace cli
