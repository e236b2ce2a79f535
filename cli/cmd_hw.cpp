// norvik hw: an asset's hardware tree with display values, setting one value (recorded in the
// asset's history), and the asset's hardware history.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/resolve_asset.h"
#include "cli/words.h"
#include "sql/sql_recordset.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik hw ASSET [--path PATH] [--json]\n"
    "       norvik hw set ASSET PATH KEY VALUE [--flags F]\n"
    "       norvik hw history ASSET [--json]\n"
    "An ASSET is an id or an exact name; a PATH names hardware categories from the top down,\n"
    "joined by \"|\" (\"Adapters|Network\").\n"
    "  (none)   the asset's hardware tree, one node a line, indented by level, values as shown\n"
    "           to people (sizes, dates, addresses); --path shows only what lies below PATH\n"
    "  set      stores VALUE as the asset's item KEY under PATH (missing categories are\n"
    "           created) and records the change in the asset's history; F (decimal or 0x..)\n"
    "           gives a new item's display type and icon, e.g. 0x2002 for a size in bytes\n"
    "           (default 0x2, plain text; a value without any flag bit is never listed)\n"
    "  history  the asset's hardware changes, oldest first\n";

// HW's text columns hold 255 bytes.
constexpr std::size_t kMaxHwText = 255;

int Usage(const std::string& problem) {
    PrintError(problem + " (see norvik hw --help)");
    return kExitUsage;
}

struct Node {
    ULong id = 0;
    std::string key;
    ULong flags = 0;
    std::string value;  // display text; values only
    std::vector<Node> children;
};

// The visible children of `parent` for `asset`, in the order they were added, recursively.
std::vector<Node> ReadTree(CNorvikSql& db, ULong asset, ULong parent, int depth) {
    CSortList list;
    db.hwEnum(asset, parent, list, 0xFFFFFFFF);
    std::vector<Node> nodes;
    for (const CSortItem& item : list) nodes.push_back(Node{item.id, item.text.str(), item.extra, {}, {}});
    std::sort(nodes.begin(), nodes.end(), [](const Node& a, const Node& b) { return a.id < b.id; });
    for (Node& node : nodes) {
        if (node.flags & CNorvik::kHwCategory) {
            // Deeper than any real tree: a cycle written by hand.
            if (depth < 64) node.children = ReadTree(db, asset, node.id, depth + 1);
        } else {
            node.value = db.hwValueAsString(node.id).str();
        }
    }
    return nodes;
}

void PrintText(const std::vector<Node>& nodes, int depth) {
    for (const Node& node : nodes) {
        std::cout << std::string(static_cast<std::size_t>(depth) * 2, ' ') << TerminalText(node.key);
        if (node.flags & CNorvik::kHwCategory) {
            std::cout << '\n';
            PrintText(node.children, depth + 1);
        } else {
            std::cout << ": " << TerminalText(node.value) << '\n';
        }
    }
}

void PrintJson(const std::vector<Node>& nodes) {
    std::cout << '[';
    const char* separator = "";
    for (const Node& node : nodes) {
        std::cout << separator << "{\"id\": " << node.id << ", \"key\": " << JsonText(node.key)
                  << ", \"flags\": " << node.flags;
        if (node.flags & CNorvik::kHwCategory) {
            std::cout << ", \"children\": ";
            PrintJson(node.children);
        } else {
            std::cout << ", \"value\": " << JsonText(node.value);
        }
        std::cout << '}';
        separator = ", ";
    }
    std::cout << ']';
}

// The category at exactly `path`; 0 when a piece is missing (hwFind alone skips those).
ULong FindCategory(CNorvikSql& db, const std::string& path) {
    const ULong found = db.hwFind(path.c_str(), '|');
    return found != 0 && db.hwCatAsString(found, '|').str() == path ? found : 0;
}

int ShowTree(Context& context, const std::vector<std::string>& words) {
    Words args;
    if (auto error = SplitWords(words, {{}, {"--path"}}, &args); !error.empty()) return Usage(error);
    if (args.positional.size() != 1) return Usage("name one asset");
    CNorvikSql* db = context.OpenDatabaseToRead();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const Resolved asset = ResolveAsset(*db, args.positional[0]);
    if (!asset.ok()) return Fail(asset);
    ULong root = 0;
    for (const auto& [name, value] : args.options) {
        root = FindCategory(*db, value);
        if (root == 0 && !watch.Shown()) return Fail("no hardware category '" + value + "'");
    }
    const std::vector<Node> tree = ReadTree(*db, asset.id, root, 0);
    if (watch.Shown()) return kExitFailed;
    if (context.options.json) {
        std::cout << "{\"asset\": " << asset.id << ", \"tree\": ";
        PrintJson(tree);
        std::cout << "}\n";
    } else {
        PrintText(tree, 0);
    }
    return kExitOk;
}

// Decimal or 0x-prefixed hexadecimal flags of a value node; false for anything else.
bool ParseFlags(const std::string& text, ULong* flags, std::string* error) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    if (digits.empty() || digits.size() > 8 ||
        digits.find_first_not_of(hex ? "0123456789abcdefABCDEF" : "0123456789") != std::string::npos) {
        *error = "--flags takes a number (decimal or 0x...): " + text;
        return false;
    }
    const unsigned long long value = std::strtoull(digits.c_str(), nullptr, hex ? 16 : 10);
    if (value > 0xFFFFFFFFull) {
        *error = "--flags is a 32-bit value: " + text;
        return false;
    }
    *flags = static_cast<ULong>(value);
    if (*flags == 0) {
        *error = "--flags needs at least one bit: a value without any is never listed";
        return false;
    }
    if (*flags & CNorvik::kHwCategory) {
        *error = "--flags must not have bit 0x1: it marks categories, not values";
        return false;
    }
    if (((*flags >> 4) & 0xFF) > 33) {
        *error = "--flags names icon index " + std::to_string((*flags >> 4) & 0xFF) + "; the table ends at 33";
        return false;
    }
    return true;
}

int SetValue(Context& context, const std::vector<std::string>& words) {
    Words args;
    if (auto error = SplitWords(words, {{}, {"--flags"}}, &args); !error.empty()) return Usage(error);
    if (args.positional.size() != 4) return Usage("hw set takes ASSET PATH KEY VALUE");
    const std::string& path = args.positional[1];
    const std::string& key = args.positional[2];
    const std::string& value = args.positional[3];
    // Listings take the nodes whose flags share a bit with their mask, so a value needs one;
    // 0x2 has no other meaning.
    ULong flags = 0x2;
    for (const auto& [name, text] : args.options) {
        std::string error;
        if (!ParseFlags(text, &flags, &error)) return Usage(error);
    }
    if (path.empty() || path.front() == '|' || path.back() == '|' || path.find("||") != std::string::npos)
        return Usage("the path needs category names joined by '|': '" + path + "'");
    if (path.size() > kMaxHwText) return Usage("a category name holds at most 255 bytes");
    if (key.empty()) return Usage("the key must not be empty");
    if (key.size() > kMaxHwText || value.size() > kMaxHwText) return Usage("keys and values hold at most 255 bytes");

    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const Resolved asset = ResolveAsset(*db, args.positional[0]);
    if (!asset.ok()) return Fail(asset);
    const ULong category = db->hwAdd(path.c_str(), '|', CNorvik::kHwCategory);
    if (category == 0) return kExitFailed;
    const CTime now = CTime::GetCurrentTime();
    ULong node = db->hwFind(category, asset.id, key.c_str());
    if (watch.Shown()) return kExitFailed;
    if (node != 0) {
        CString old;
        const ULong oldFlags = db->hwFlags(node);
        old = db->SelectText("HW", "_VAL", node);
        if (old.str() != value) db->hwSetVal(node, value.c_str(), 1, now);
        flags = oldFlags;
    } else {
        node = db->hwAdd(category, asset.id, flags, key.c_str(), value.c_str());
        if (node != 0) {
            // A new item is recorded as the audit import records one: the difference of two
            // snapshots.
            CHwList before, after;
            after.Add(category, db->hwCatAsString(category, '|'), key.c_str(), value.c_str(), flags);
            db->StoreHwHistory(asset.id, before, after, now);
        }
    }
    if (watch.Shown() || node == 0) return kExitFailed;
    CString shown = value.c_str();
    db->hwValueAsString(flags, shown);
    if (context.options.json) {
        std::cout << "{\"asset\": " << asset.id << ", \"node\": " << node << ", \"path\": " << JsonText(path)
                  << ", \"key\": " << JsonText(key) << ", \"value\": " << JsonText(value)
                  << ", \"shown\": " << JsonText(shown.str()) << "}\n";
    } else {
        std::cout << TerminalText(path + '|' + key + " = " + shown.str()) << '\n';
    }
    return kExitOk;
}

int ShowHistory(Context& context, const std::vector<std::string>& words) {
    Words args;
    if (auto error = SplitWords(words, {{}, {}}, &args); !error.empty()) return Usage(error);
    if (args.positional.size() != 1) return Usage("name one asset");
    CNorvikSql* db = context.OpenDatabaseToRead();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const Resolved asset = ResolveAsset(*db, args.positional[0]);
    if (!asset.ok()) return Fail(asset);

    // Hardware records carry a kind of the hardware icon table (or the group's own 14).
    std::set<ULong> kinds{14};
    for (ULong index = 0; index <= 33; ++index) kinds.insert(CNorvik::hwIconFromFlags(index << 4));
    struct Row {
        ULong id;
        CTime date;
        ULong code;
        CString key, value1, value2, user;
    };
    std::vector<Row> rows;
    const CString statement = CString::Formatted(
        "select _ID,_DATE,_CODE,_KEY,_VALUE1,_VALUE2,_USERNAME from HISTORY where _ASSET=%d order by _DATE,_ID",
        static_cast<int>(asset.id));
    try {
        CSqlRecordset rs(db, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            const ULong code = rs.NumberAt(2);
            if (kinds.count(code & 0xFFFF))
                rows.push_back(
                    {rs.NumberAt(0), rs.TimeAt(1), code, rs.TextAt(3), rs.TextAt(4), rs.TextAt(5), rs.TextAt(6)});
        }
    } catch (const CDBException& e) {
        return Fail("cannot read the history: " + e.m_strError.str());
    }
    if (context.options.json) {
        std::cout << "{\"asset\": " << asset.id << ", \"history\": [";
        const char* separator = "";
        for (const Row& r : rows) {
            std::cout << separator << "{\"id\": " << r.id << ", \"date\": " << JsonText(IsoDateTime(r.date))
                      << ", \"operation\": " << JsonText(CNorvik::GetHistoryOperation(r.code >> 16).str())
                      << ", \"kind\": " << (r.code & 0xFFFF) << ", \"key\": " << JsonText(r.key.str())
                      << ", \"value1\": " << JsonText(r.value1.str()) << ", \"value2\": " << JsonText(r.value2.str())
                      << ", \"user\": " << JsonText(r.user.str()) << '}';
            separator = ", ";
        }
        std::cout << "]}\n";
        return kExitOk;
    }
    for (const Row& r : rows)
        std::cout << IsoDateTime(r.date) << "  " << TerminalText(db->historyFormatRecord(r.id).str()) << '\n';
    return watch.Shown() ? kExitFailed : kExitOk;
}

}  // namespace

int RunHw(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    const auto& args = context.args;
    if (args.empty()) return Usage("name an asset");
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (args[0] == "set") return SetValue(context, rest);
    if (args[0] == "history") return ShowHistory(context, rest);
    return ShowTree(context, args);
}

}  // namespace cli
