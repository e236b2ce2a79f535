// norvik serial: the registry places where the auditor reads applications' serial numbers.
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/resolve_location.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kSerialHelp[] =
    "usage: norvik serial list [--json]\n"
    "       norvik serial add APP KEY ITEM\n"
    "       norvik serial delete ID\n"
    "The places where an audit reads an application's serial number: the registry key KEY and\n"
    "the value ITEM within it, for the application named APP.\n"
    "  list     every place, with its id\n"
    "  add      records a place and prints its id\n"
    "  delete   forgets the place with this id\n";

int SerialList(CNorvikSql& db, bool json) {
    CDynaList<ULong> ids;
    db.EnumSSRecs(ids, 0);
    struct Row {
        ULong id;
        std::string app, key, item;
    };
    std::vector<Row> rows;
    for (ULong id : ids)
        rows.push_back(Row{id, db.GetSSAppName(id).str(), db.GetSSRegKey(id).str(), db.GetSSRegItem(id).str()});
    if (json) {
        std::cout << "[";
        for (std::size_t i = 0; i < rows.size(); ++i) {
            std::cout << (i ? ", " : "") << "{\"id\": " << rows[i].id << ", \"app\": " << JsonText(rows[i].app)
                      << ", \"key\": " << JsonText(rows[i].key) << ", \"item\": " << JsonText(rows[i].item) << "}";
        }
        std::cout << "]\n";
        return kExitOk;
    }
    TextTable table({"Id", "Application", "Key", "Item"});
    for (const Row& row : rows) table.AddRow({std::to_string(row.id), row.app, row.key, row.item});
    table.Print(std::cout, {0});
    return kExitOk;
}

}  // namespace

int RunSerial(Context& context) {
    const auto& args = context.args;
    if (context.PrintHelpIfAsked(kSerialHelp)) return kExitOk;
    const std::string sub = args.empty() ? "" : args[0];
    Words words;
    if (sub == "list") {
        if (!SplitSubCommandWords(args, {{}, {}, 0, 0}, "serial list [--json]", &words)) return kExitUsage;
    } else if (sub == "add") {
        if (!SplitSubCommandWords(args, {{}, {}, 3, 3}, "serial add APP KEY ITEM", &words)) return kExitUsage;
        if (words.positional[0].empty()) return UsageError("an application name may not be empty");
    } else if (sub == "delete") {
        if (!SplitSubCommandWords(args, {{}, {}, 1, 1}, "serial delete ID", &words)) return kExitUsage;
        if (IdFromDigits(words.positional[0]) == 0) return UsageError("not a record id: " + words.positional[0]);
    } else {
        return UsageError((sub.empty() ? std::string("serial needs a command") : "unknown serial command " + sub) +
                          " (see norvik serial --help)");
    }
    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const auto& p = words.positional;

    if (sub == "list") {
        const int result = SerialList(*db, context.options.json);
        return watch.Shown() ? kExitFailed : result;
    }
    if (sub == "add") {
        const ULong id = db->AddSSRec(p[0].c_str(), p[1].c_str(), p[2].c_str());
        if (id == 0) return kExitFailed;
        std::cout << id << '\n';
        return kExitOk;
    }
    const ULong id = IdFromDigits(p[0]);
    try {
        if (!RowExists(*db, "SWSERIAL", id)) return Fail("no serial-number place " + p[0]);
    } catch (const CDBException& e) {
        return Fail("cannot read the serial-number places: " + e.m_strError.str());
    }
    db->DeleteSSRec(id);
    return watch.Shown() ? kExitFailed : kExitOk;
}

}  // namespace cli
