// norvik location: the location tree with its address ranges, and its comma-separated export.
#include <algorithm>
#include <iostream>
#include <map>
#include <set>

#include "cli/cli_context.h"
#include "cli/resolve_location.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kLocationHelp[] =
    "usage: norvik location list [--tree] [--json]\n"
    "       norvik location add PATH\n"
    "       norvik location find PATH\n"
    "       norvik location find-ip ADDRESS\n"
    "       norvik location rename LOCATION NAME\n"
    "       norvik location delete LOCATION\n"
    "       norvik location ranges LOCATION [FROM TO] [--json]\n"
    "       norvik location export FILE\n"
    "A PATH is the names from the top level down, separated by ';' or '\\'\n"
    "(\"HQ;Floor 2;Room 7\"). A LOCATION is an id or a path.\n"
    "  list     every location with its path, type and address ranges; --tree indents by level\n"
    "  add      adds the missing levels of PATH and prints the id and path of the last; new\n"
    "           levels take the next location type, \"New Location Type\" where the types end\n"
    "  find     prints the id and path of the location at PATH\n"
    "  find-ip  prints the first location with an address range that holds ADDRESS\n"
    "  rename   gives a location a new name, unique among its siblings\n"
    "  delete   deletes a location and everything below it; all their assets move to its parent\n"
    "  ranges   prints the address ranges of a location, or replaces them: FROM and TO are the\n"
    "           low and the high ends joined by ';', in the same order\n"
    "           (\"10.0.0.1;10.0.1.1\" \"10.0.0.9;10.0.1.9\"); two empty words clear them\n"
    "  export   writes the tree and its assets to FILE as comma-separated text\n";

// The entries of a ";"-joined list; none for an empty text.
std::vector<std::string> SplitAtSemicolons(const std::string& text) {
    std::vector<std::string> entries;
    if (text.empty()) return entries;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(';', start)) != std::string::npos; start = end + 1)
        entries.push_back(text.substr(start, end - start));
    entries.push_back(text.substr(start));
    return entries;
}

// Dotted text of an address, 0.0.0.0 included (the library writes that one as empty text).
std::string AddressText(const CIPAddress& address) {
    return std::to_string(address.GetOctet(0)) + "." + std::to_string(address.GetOctet(1)) + "." +
           std::to_string(address.GetOctet(2)) + "." + std::to_string(address.GetOctet(3));
}

struct LocationNode {
    ULong id = 0;
    ULong parent = 0;
    ULong type = 0;
    std::size_t depth = 0;
    std::string name;
    std::string path;
    std::string typeName;
    std::vector<std::pair<std::string, std::string>> ranges;
    std::vector<std::size_t> children;  // indexes into the node list
};

// Every location below `parent`, depth first, children by name. False when a read failed
// (the library has reported it).
bool CollectLocations(CNorvikSql& db, ULong parent, std::size_t depth, std::vector<LocationNode>& nodes,
                      std::set<ULong>& seen, std::map<ULong, std::string>& typeNames, std::size_t parentIndex) {
    CDynaList<ULong> children;
    if (!db.locEnum(parent, children, 0)) return false;
    for (ULong id : children) {
        if (!seen.insert(id).second) continue;  // a cycle written into the table by hand
        LocationNode node;
        node.id = id;
        node.parent = parent;
        node.depth = depth;
        node.name = db.locGetName(id).str();
        node.path = db.locGetFullName(id, '\\').str();
        node.type = db.locGetType(id);
        if (!typeNames.count(node.type)) typeNames[node.type] = db.GetLocTypeName(node.type).str();
        node.typeName = typeNames[node.type];
        CDynaList<CIPAddress> from;
        CDynaList<CIPAddress> to;
        db.locEnumIpAddressRanges(id, from, to);
        for (ULong i = 0; i < from.GetCount(); ++i) node.ranges.emplace_back(AddressText(from[i]), AddressText(to[i]));
        nodes.push_back(std::move(node));
        const std::size_t index = nodes.size() - 1;
        if (parentIndex != SIZE_MAX) nodes[parentIndex].children.push_back(index);
        if (!CollectLocations(db, id, depth + 1, nodes, seen, typeNames, index)) return false;
    }
    return true;
}

std::string RangesJson(const std::vector<std::pair<std::string, std::string>>& ranges) {
    std::string out = "[";
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        out += (i ? ", " : "") + std::string("{\"from\": ") + JsonText(ranges[i].first) +
               ", \"to\": " + JsonText(ranges[i].second) + "}";
    }
    return out + "]";
}

std::string NodeJson(const std::vector<LocationNode>& nodes, std::size_t index, bool nested) {
    const LocationNode& node = nodes[index];
    std::string out = "{\"id\": " + std::to_string(node.id) + ", \"name\": " + JsonText(node.name) +
                      ", \"path\": " + JsonText(node.path) + ", \"parent\": " + std::to_string(node.parent) +
                      ", \"type\": " + std::to_string(node.type) + ", \"typeName\": " + JsonText(node.typeName) +
                      ", \"ranges\": " + RangesJson(node.ranges);
    if (nested) {
        out += ", \"children\": [";
        for (std::size_t i = 0; i < node.children.size(); ++i)
            out += (i ? ", " : "") + NodeJson(nodes, node.children[i], true);
        out += "]";
    }
    return out + "}";
}

int LocationList(CNorvikSql& db, bool tree, bool json) {
    std::vector<LocationNode> nodes;
    std::set<ULong> seen;
    std::map<ULong, std::string> typeNames;
    if (!CollectLocations(db, 0, 0, nodes, seen, typeNames, SIZE_MAX)) return kExitFailed;
    if (json) {
        std::string out = "[";
        bool first = true;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (tree && nodes[i].depth != 0) continue;
            out += (first ? "" : ", ") + NodeJson(nodes, i, tree);
            first = false;
        }
        std::cout << out << "]\n";
        return kExitOk;
    }
    TextTable table({tree ? "Location" : "Path", "Id", "Type", "Address ranges"});
    for (const LocationNode& node : nodes) {
        std::string ranges;
        for (const auto& [from, to] : node.ranges) ranges += (ranges.empty() ? "" : ", ") + from + "-" + to;
        table.AddRow({tree ? std::string(2 * node.depth, ' ') + node.name : node.path, std::to_string(node.id),
                      node.typeName, ranges});
    }
    table.Print(std::cout, {1});
    return kExitOk;
}

void PrintLocation(CNorvikSql& db, ULong id) { std::cout << id << "  " << db.locGetFullName(id, '\\').c_str() << '\n'; }

int LocationRanges(CNorvikSql& db, ULong id, const Words& words, bool json) {
    if (words.positional.size() == 1) {
        CDynaList<CIPAddress> from;
        CDynaList<CIPAddress> to;
        db.locEnumIpAddressRanges(id, from, to);
        std::vector<std::pair<std::string, std::string>> ranges;
        for (ULong i = 0; i < from.GetCount(); ++i) ranges.emplace_back(AddressText(from[i]), AddressText(to[i]));
        if (json) {
            std::cout << RangesJson(ranges) << '\n';
            return kExitOk;
        }
        TextTable table({"From", "To"});
        for (const auto& [low, high] : ranges) table.AddRow({low, high});
        table.Print(std::cout);
        return kExitOk;
    }
    // Checked whole before anything is written, so a bad entry leaves the old ranges in place.
    const std::vector<std::string> lows = SplitAtSemicolons(words.positional[1]);
    const std::vector<std::string> highs = SplitAtSemicolons(words.positional[2]);
    if (lows.size() != highs.size()) {
        return UsageError("FROM holds " + std::to_string(lows.size()) + " addresses and TO " +
                          std::to_string(highs.size()) + "; every range needs both ends");
    }
    std::string fromText;
    std::string toText;
    for (std::size_t i = 0; i < lows.size(); ++i) {
        CIPAddress low;
        CIPAddress high;
        if (!ParseAddress(lows[i], &low)) return UsageError("not an IPv4 address: '" + lows[i] + "'");
        if (!ParseAddress(highs[i], &high)) return UsageError("not an IPv4 address: '" + highs[i] + "'");
        if (low.GetAsNumber() > high.GetAsNumber()) {
            return UsageError("the range " + lows[i] + " to " + highs[i] + " ends before it starts");
        }
        if (i) {
            fromText += ';';
            toText += ';';
        }
        fromText += AddressText(low);
        toText += AddressText(high);
    }
    constexpr std::size_t kColumn = 255;  // LOCDATA._IPFROM and _IPTO
    if (fromText.size() > kColumn || toText.size() > kColumn) {
        return UsageError("the ranges take " + std::to_string(std::max(fromText.size(), toText.size())) +
                          " characters; a location holds at most " + std::to_string(kColumn) + " for each end");
    }
    CString fromValue(fromText);
    CString toValue(toText);
    return db.locSetIpAddressRanges(id, fromValue, toValue) ? kExitOk : kExitFailed;
}

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{"--tree"}, {}, 0, 0}, "location list [--tree] [--json]"},
    {"add", {{}, {}, 1, 1}, "location add PATH"},
    {"find", {{}, {}, 1, 1}, "location find PATH"},
    {"find-ip", {{}, {}, 1, 1}, "location find-ip ADDRESS"},
    {"rename", {{}, {}, 2, 2}, "location rename LOCATION NAME"},
    {"delete", {{}, {}, 1, 1}, "location delete LOCATION"},
    {"ranges", {{}, {}, 1, 3}, "location ranges LOCATION [FROM TO] [--json]"},
    {"export", {{}, {}, 1, 1}, "location export FILE"},
};

}  // namespace

int RunLocation(Context& context) {
    const auto& args = context.args;
    if (context.PrintHelpIfAsked(kLocationHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("location", args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    if (sub == "ranges" && p.size() == 2)
        return UsageError(std::string("ranges takes FROM and TO together; usage: norvik ") + command->usage);

    // What can be checked without the database is checked first.
    CIPAddress address;
    if (sub == "find-ip" && !ParseAddress(p[0], &address)) return UsageError("not an IPv4 address: '" + p[0] + "'");
    if (sub == "add") {
        if (const std::string why = CheckNewLocationPath(p[0]); !why.empty()) return UsageError(why);
    }
    if (sub == "rename") {
        if (const std::string why = CheckLocationName(p[1]); !why.empty()) return UsageError(why);
    }

    const bool reads =
        sub == "list" || sub == "find" || sub == "find-ip" || sub == "export" || (sub == "ranges" && p.size() == 1);
    return WithDatabase(context, reads ? Access::kRead : Access::kWrite, [&](CNorvikSql& db, const MessageWatch&) {
        if (sub == "list") return LocationList(db, words.Has("--tree"), context.options.json);
        if (sub == "add") {
            const ULong id = db.locAddFull(p[0].c_str());
            if (id == 0) return kExitFailed;
            PrintLocation(db, id);
            return kExitOk;
        }
        if (sub == "find-ip") {
            const ULong id = db.locFindByIP(address);
            if (id == 0) {
                PrintError("no location has a range holding " + p[0]);
                return kExitFailed;
            }
            PrintLocation(db, id);
            return kExitOk;
        }
        if (sub == "export") {
            if (!db.locExport(p[0].c_str())) {
                PrintError("cannot write the export to " + p[0]);
                return kExitFailed;
            }
            return kExitOk;
        }

        const Resolved location = ResolveLocation(db, p[0]);
        if (!location.ok()) return Fail(location);
        if (sub == "find") {
            PrintLocation(db, location.id);
            return kExitOk;
        }
        if (sub == "ranges") return LocationRanges(db, location.id, words, context.options.json);
        const ULong parent = db.locGetParent(location.id);
        if (sub == "rename") {
            try {
                const ULong sibling = FindChildLocation(db, parent, p[1]);
                if (sibling != 0 && sibling != location.id) {
                    PrintError("a location named '" + p[1] + "' already exists there (id " + std::to_string(sibling) +
                               ")");
                    return kExitFailed;
                }
            } catch (const CDBException& e) {
                PrintError("cannot read the locations: " + e.m_strError.str());
                return kExitFailed;
            }
            return db.locSetName(location.id, p[1].c_str()) ? kExitOk : kExitFailed;
        }
        // delete
        const CString path = db.locGetFullName(location.id, '\\');
        CDynaList<ULong> below;
        if (!db.locEnum(location.id, below, 1)) return kExitFailed;
        if (!db.locDelete(location.id)) return kExitFailed;
        std::cout << "deleted '" << path.c_str() << "' and " << below.GetCount()
                  << " location(s) below it; their assets now belong to "
                  << (parent == 0 ? std::string("the top of the tree")
                                  : "'" + db.locGetFullName(parent, '\\').str() + "'")
                  << '\n';
        return kExitOk;
    });
}

}  // namespace cli
